// Copies of a property of each type beside copies of a variant that holds the same.

#include <Common/Property/VQProperty.h>

#include <bench/support/Ratios.h>

#include <functional>
#include <map>
#include <string>
#include <variant>
#include <vector>

namespace
{
struct SStruct;
struct SList;
using TVariant = std::variant<std::monostate, bool, int, long, unsigned long, float, std::string, SStruct, SList>;

struct SStruct
{
    std::string m_oName;
    std::map<std::string, TVariant> m_oElements;
};

struct SList
{
    std::vector<TVariant> m_oElements;
    std::map<std::string, TVariant> m_oAttributes;
};

template <class TValue>
void RegisterOne(const std::string& oWork, const std::string& oWho, const TValue& oValue)
{
    benchmark::RegisterBenchmark(("property/copy " + oWork + "/" + oWho).c_str(),
                                 [oValue](benchmark::State& oState)
                                 {
                                     for (auto _ : oState)
                                     {
                                         TValue oCopy(oValue);
                                         benchmark::DoNotOptimize(oCopy);
                                     }
                                 });
    benchmark::RegisterBenchmark(("property/assign " + oWork + "/" + oWho).c_str(),
                                 [oValue](benchmark::State& oState)
                                 {
                                     TValue oTarget(oValue);
                                     for (auto _ : oState)
                                     {
                                         oTarget = oValue;
                                         benchmark::DoNotOptimize(oTarget);
                                     }
                                 });
}

void Register(const std::string& oWork, const CVQProperty& oOurs, const TVariant& oPeer)
{
    RegisterOne(oWork, "ours", oOurs);
    RegisterOne(oWork, "std::variant", oPeer);
}
} // namespace

int main(int nArguments, char** ppArguments)
{
    const char* const pLong = "a text of more characters than fit a small string";

    CVQPropertyStruct oStruct;
    CVQPropertyList oList;
    SStruct oPeerStruct;
    SList oPeerList;
    oStruct.SetStructureName("Structure");
    oPeerStruct.m_oName = "Structure";
    oList.SetListElementType(CVQProperty(0));
    oPeerList.m_oAttributes["ElementType"] = 0;
    for (int i = 0; i < 16; ++i)
    {
        const std::string oName = "element " + std::to_string(i);
        oStruct[oName.c_str()] = i;
        oPeerStruct.m_oElements[oName] = i;
        oList.AddListElement(CVQProperty(i));
        oPeerList.m_oElements.emplace_back(i);
    }

    Register("undefined", CVQProperty(), TVariant());
    Register("bool", CVQProperty(true), TVariant(true));
    Register("int", CVQProperty(7), TVariant(7));
    Register("long", CVQProperty(7L), TVariant(7L));
    Register("unsigned long", CVQProperty(7UL), TVariant(7UL));
    Register("float", CVQProperty(2.5F), TVariant(2.5F));
    Register("short text", CVQProperty("short"), TVariant(std::string("short")));
    Register("long text", CVQProperty(pLong), TVariant(std::string(pLong)));
    Register("struct of 16", CVQProperty(oStruct), TVariant(oPeerStruct));
    Register("list of 16", CVQProperty(oList), TVariant(oPeerList));
    return RunWithRatios(nArguments, ppArguments);
}
