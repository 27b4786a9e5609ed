// Settings of many properties beside maps of variants: MessagePack for C++ and the binary form (MessagePack too) of a
// JSON library. Each stores all of them and loads them into an object of its own, in memory and through a file.

#include <Common/File/FileIO.h>
#include <Common/File/VQDataStream.h>
#include <Common/Property/VQPropertyManager.h>

#include <bench/support/Ratios.h>

#include <msgpack.hpp>
#include <nlohmann/json.hpp>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <variant>

namespace
{
constexpr int PROPERTIES = 100000;

using TPeer = std::map<std::string, msgpack::type::variant>;

void Register(const std::string& oName, const std::function<void(benchmark::State&)>& oWork)
{
    benchmark::RegisterBenchmark(oName.c_str(), oWork)->Unit(benchmark::kMillisecond);
}

std::string NameOf(int nIndex)
{
    char aName[32];
    std::snprintf(aName, sizeof(aName), "%s.%06d", nIndex % 2 == 0 ? "render" : "sound", nIndex);
    return aName;
}

/// A value of one of five types, handed to Set(name, value).
template <class TSet>
void Fill(const TSet& Set)
{
    for (int i = 0; i < PROPERTIES; ++i)
    {
        const std::string oName = NameOf(i);
        switch (i % 5)
        {
        case 0:
            Set(oName, i * 7);
            break;
        case 1:
            Set(oName, static_cast<float>(i) / 3);
            break;
        case 2:
            Set(oName, i % 3 == 0);
            break;
        case 3:
            Set(oName, "textures/wall.tga");
            break;
        default:
            Set(oName, static_cast<unsigned long>(i));
            break;
        }
    }
}

const CVQPropertyManager& Ours()
{
    static const CVQPropertyManager s_oManager = []
    {
        CVQPropertyManager oManager;
        Fill([&oManager](const std::string& oName, auto oValue) { oManager.SetProperty(oName.c_str(), oValue); });
        return oManager;
    }();
    return s_oManager;
}

const TPeer& MessagePack()
{
    static const TPeer s_oMap = []
    {
        TPeer oMap;
        Fill(
            [&oMap](const std::string& oName, auto oValue)
            {
                if constexpr (std::is_same_v<decltype(oValue), float>)
                    oMap[oName] = static_cast<double>(oValue);
                else
                    oMap[oName] = oValue;
            });
        return oMap;
    }();
    return s_oMap;
}

const nlohmann::json& Json()
{
    static const nlohmann::json s_oJson = []
    {
        nlohmann::json oJson;
        Fill([&oJson](const std::string& oName, auto oValue) { oJson[oName] = oValue; });
        return oJson;
    }();
    return s_oJson;
}

void StoreOurs(CVQDataStream& oStream)
{
    const_cast<CVQPropertyManager&>(Ours()).Serialize(oStream); // storing changes nothing
}

void RegisterMemory()
{
    Register("manager/store/100000/ours",
             [](benchmark::State& oState)
             {
                 Ours();
                 for (auto _ : oState)
                 {
                     CVQDataStream oStream(CVQDataStream::STORING);
                     StoreOurs(oStream);
                     benchmark::DoNotOptimize(oStream.GetBuffer());
                 }
             });
    Register("manager/store/100000/msgpack",
             [](benchmark::State& oState)
             {
                 MessagePack();
                 for (auto _ : oState)
                 {
                     msgpack::sbuffer oBuffer;
                     msgpack::pack(oBuffer, MessagePack());
                     benchmark::DoNotOptimize(oBuffer.data());
                 }
             });
    Register("manager/store/100000/nlohmann",
             [](benchmark::State& oState)
             {
                 Json();
                 for (auto _ : oState)
                     benchmark::DoNotOptimize(nlohmann::json::to_msgpack(Json()));
             });

    Register("manager/load/100000/ours",
             [](benchmark::State& oState)
             {
                 CVQDataStream oStored(CVQDataStream::STORING);
                 StoreOurs(oStored);
                 for (auto _ : oState)
                 {
                     CVQDataStream oStream(oStored);
                     CVQPropertyManager oManager;
                     oManager.Serialize(oStream);
                     benchmark::DoNotOptimize(oManager);
                 }
             });
    Register("manager/load/100000/msgpack",
             [](benchmark::State& oState)
             {
                 msgpack::sbuffer oBuffer;
                 msgpack::pack(oBuffer, MessagePack());
                 for (auto _ : oState)
                 {
                     const TPeer oMap = msgpack::unpack(oBuffer.data(), oBuffer.size()).get().as<TPeer>();
                     benchmark::DoNotOptimize(oMap);
                 }
             });
    Register("manager/load/100000/nlohmann",
             [](benchmark::State& oState)
             {
                 const auto oBytes = nlohmann::json::to_msgpack(Json());
                 for (auto _ : oState)
                     benchmark::DoNotOptimize(nlohmann::json::from_msgpack(oBytes));
             });
}

/// Both ways in one turn.
void RegisterRoundTrip()
{
    Register("manager/store and load/100000/ours",
             [](benchmark::State& oState)
             {
                 Ours();
                 for (auto _ : oState)
                 {
                     CVQDataStream oStream(CVQDataStream::STORING);
                     StoreOurs(oStream);
                     CVQDataStream oLoading(oStream);
                     CVQPropertyManager oManager;
                     oManager.Serialize(oLoading);
                     benchmark::DoNotOptimize(oManager);
                 }
             });
    Register("manager/store and load/100000/msgpack",
             [](benchmark::State& oState)
             {
                 MessagePack();
                 for (auto _ : oState)
                 {
                     msgpack::sbuffer oBuffer;
                     msgpack::pack(oBuffer, MessagePack());
                     const TPeer oMap = msgpack::unpack(oBuffer.data(), oBuffer.size()).get().as<TPeer>();
                     benchmark::DoNotOptimize(oMap);
                 }
             });
    Register("manager/store and load/100000/nlohmann",
             [](benchmark::State& oState)
             {
                 Json();
                 for (auto _ : oState)
                     benchmark::DoNotOptimize(nlohmann::json::from_msgpack(nlohmann::json::to_msgpack(Json())));
             });
}

std::string FileName()
{
    return (std::filesystem::temp_directory_path() / "VQPropertyManager_bench.tmp").string();
}

void WriteBytes(const char* pBytes, std::size_t nSize)
{
    std::FILE* const pFile = std::fopen(FileName().c_str(), "wb");
    std::fwrite(pBytes, 1, nSize, pFile);
    std::fclose(pFile);
}

/// A new file for each turn: to empty an old one takes the system as long as it likes.
void RemoveFile(benchmark::State& oState)
{
    oState.PauseTiming();
    std::remove(FileName().c_str());
    oState.ResumeTiming();
}

std::string ReadBytes()
{
    std::string oBytes(std::filesystem::file_size(FileName()), '\0');
    std::FILE* const pFile = std::fopen(FileName().c_str(), "rb");
    const std::size_t nRead = std::fread(oBytes.data(), 1, oBytes.size(), pFile);
    std::fclose(pFile);
    oBytes.resize(nRead);
    return oBytes;
}

void WriteOurs()
{
    CFileIO oFile;
    oFile.Open(FileName().c_str(), CFileIO::WRITE);
    const_cast<CVQPropertyManager&>(Ours()).Write(&oFile);
    oFile.Flush();
    oFile.Close();
}

void RegisterFiles()
{
    Register("manager/write file/100000/ours",
             [](benchmark::State& oState)
             {
                 Ours();
                 for (auto _ : oState)
                 {
                     RemoveFile(oState);
                     WriteOurs();
                 }
             });
    Register("manager/write file/100000/msgpack",
             [](benchmark::State& oState)
             {
                 MessagePack();
                 for (auto _ : oState)
                 {
                     RemoveFile(oState);
                     msgpack::sbuffer oBuffer;
                     msgpack::pack(oBuffer, MessagePack());
                     WriteBytes(oBuffer.data(), oBuffer.size());
                 }
             });
    Register("manager/write file/100000/nlohmann",
             [](benchmark::State& oState)
             {
                 Json();
                 for (auto _ : oState)
                 {
                     RemoveFile(oState);
                     const auto oBytes = nlohmann::json::to_msgpack(Json());
                     WriteBytes(reinterpret_cast<const char*>(oBytes.data()), oBytes.size());
                 }
             });

    Register("manager/read file/100000/ours",
             [](benchmark::State& oState)
             {
                 WriteOurs();
                 for (auto _ : oState)
                 {
                     CFileIO oFile;
                     oFile.Open(FileName().c_str(), CFileIO::READ);
                     CVQPropertyManager oManager;
                     oManager.Read(&oFile);
                     benchmark::DoNotOptimize(oManager);
                 }
             });
    Register("manager/read file/100000/msgpack",
             [](benchmark::State& oState)
             {
                 msgpack::sbuffer oBuffer;
                 msgpack::pack(oBuffer, MessagePack());
                 WriteBytes(oBuffer.data(), oBuffer.size());
                 for (auto _ : oState)
                 {
                     const std::string oBytes = ReadBytes();
                     const TPeer oMap = msgpack::unpack(oBytes.data(), oBytes.size()).get().as<TPeer>();
                     benchmark::DoNotOptimize(oMap);
                 }
             });
    Register("manager/read file/100000/nlohmann",
             [](benchmark::State& oState)
             {
                 const auto oPacked = nlohmann::json::to_msgpack(Json());
                 WriteBytes(reinterpret_cast<const char*>(oPacked.data()), oPacked.size());
                 for (auto _ : oState)
                     benchmark::DoNotOptimize(nlohmann::json::from_msgpack(ReadBytes()));
             });
}

/// Both ways in one turn.
void RegisterFileRoundTrip()
{
    Register("manager/write and read file/100000/ours",
             [](benchmark::State& oState)
             {
                 Ours();
                 for (auto _ : oState)
                 {
                     RemoveFile(oState);
                     WriteOurs();
                     CFileIO oFile;
                     oFile.Open(FileName().c_str(), CFileIO::READ);
                     CVQPropertyManager oManager;
                     oManager.Read(&oFile);
                     benchmark::DoNotOptimize(oManager);
                 }
             });
    Register("manager/write and read file/100000/msgpack",
             [](benchmark::State& oState)
             {
                 MessagePack();
                 for (auto _ : oState)
                 {
                     RemoveFile(oState);
                     msgpack::sbuffer oBuffer;
                     msgpack::pack(oBuffer, MessagePack());
                     WriteBytes(oBuffer.data(), oBuffer.size());
                     const std::string oBytes = ReadBytes();
                     const TPeer oMap = msgpack::unpack(oBytes.data(), oBytes.size()).get().as<TPeer>();
                     benchmark::DoNotOptimize(oMap);
                 }
             });
    Register("manager/write and read file/100000/nlohmann",
             [](benchmark::State& oState)
             {
                 Json();
                 for (auto _ : oState)
                 {
                     RemoveFile(oState);
                     const auto oPacked = nlohmann::json::to_msgpack(Json());
                     WriteBytes(reinterpret_cast<const char*>(oPacked.data()), oPacked.size());
                     benchmark::DoNotOptimize(nlohmann::json::from_msgpack(ReadBytes()));
                 }
             });
}

void RegisterLookups(int nCount)
{
    const auto pNames = std::make_shared<std::vector<std::string>>();
    const auto pOurs = std::make_shared<CVQPropertyManager>();
    const auto pPeer = std::make_shared<std::map<std::string, std::variant<bool, int, float, std::string>>>();
    for (int i = 0; i < nCount; ++i)
    {
        pNames->push_back(NameOf(static_cast<int>(i * 7919LL % nCount)));
        pOurs->SetProperty(NameOf(i).c_str(), i);
        pPeer->emplace(NameOf(i), i);
    }

    const std::string oWork = "manager/find by name/" + std::to_string(nCount);
    Register(oWork + "/ours",
             [pNames, pOurs](benchmark::State& oState)
             {
                 const CVQPropertyManager& oManager = *pOurs;
                 for (auto _ : oState)
                     for (const std::string& oName : *pNames)
                         benchmark::DoNotOptimize(&oManager.FindProperty(oName.c_str()));
             });
    Register(oWork + "/std::map",
             [pNames, pPeer](benchmark::State& oState)
             {
                 for (auto _ : oState)
                     for (const std::string& oName : *pNames)
                         benchmark::DoNotOptimize(&*pPeer->find(oName));
             });
}
} // namespace

int main(int nArguments, char** ppArguments)
{
    RegisterMemory();
    RegisterRoundTrip();
    RegisterFiles();
    RegisterFileRoundTrip();
    for (const int nCount : {10, 1000, 100000})
        RegisterLookups(nCount);
    const int nResult = RunWithRatios(nArguments, ppArguments);
    std::remove(FileName().c_str());
    return nResult;
}
