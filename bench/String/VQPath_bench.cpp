// Paths beside std::filesystem::path, which takes a path apart when it is made and keeps the parts.

#include <Common/String/VQPath.h>

#include <bench/support/Ratios.h>

#include <filesystem>
#include <string>

namespace
{
const char* const ROOT = "/usr/share/games/engine";
const char* const NAME = "levels/one/terrain.height.dat";

template <class Work>
void Register(const std::string& oName, Work oWork)
{
    benchmark::RegisterBenchmark(oName.c_str(),
                                 [oWork](benchmark::State& oState)
                                 {
                                     for (auto _ : oState)
                                         benchmark::DoNotOptimize(oWork());
                                 });
}
} // namespace

int main(int nArguments, char** ppArguments)
{
    using std::filesystem::path;

    static const CVQPath s_oRoot(ROOT);
    static const CVQPath s_oName(NAME);
    static const path s_oPeerRoot(ROOT);
    static const path s_oPeerName(NAME);

    Register("join two paths/ours",
             []
             {
                 CVQPath oPath(s_oRoot);
                 oPath.Append(s_oName);
                 return oPath;
             });
    Register("join two paths/filesystem::path",
             []
             {
                 path oPath(s_oPeerRoot);
                 oPath /= s_oPeerName;
                 return oPath;
             });
    Register("make from text/ours", [] { return CVQPath(NAME); });
    Register("make from text/filesystem::path", [] { return path(NAME); });
    Register("extension/ours", [] { return s_oName.GetExtension(); });
    Register("extension/filesystem::path", [] { return s_oPeerName.extension(); });
    Register("file name/ours", [] { return s_oName.GetFileName(true); });
    Register("file name/filesystem::path", [] { return s_oPeerName.filename(); });
    Register("parent/ours", [] { return s_oName.GetPath(); });
    Register("parent/filesystem::path", [] { return s_oPeerName.parent_path(); });
    Register("walk/ours",
             []
             {
                 CVQString oComponent;
                 long nPosition = 0;
                 long nLength = 0;
                 for (bool bGo = s_oRoot.GetFirstComponent(oComponent, nPosition); bGo;
                      bGo = s_oRoot.GetNextComponent(oComponent, nPosition))
                     nLength += oComponent.GetLength();
                 return nLength;
             });
    Register("walk/filesystem::path",
             []
             {
                 std::size_t nLength = 0;
                 for (const path& oComponent : s_oPeerRoot)
                     nLength += oComponent.native().size();
                 return nLength;
             });
    Register("same/ours", [] { return s_oName.IsSame(CVQPath("LEVELS/one/terrain.height.DAT"), 0, true, true); });
    Register("same/filesystem::path", [] { return s_oPeerName == path("levels/one/terrain.height.dat"); });
    return RunWithRatios(nArguments, ppArguments);
}
