#include <Common/Common.h>

#include <cstring>

// A program for check-debuggers, which stops it at Here() and looks at the variables.

namespace
{
volatile int g_nArrived;

/// A class of a program that derives from one of the library.
class CShipName : public CVQString
{
public:
    CShipName(const char* pName, int nFlight) : CVQString(pName), m_nFlight(nFlight) {}

    int m_nFlight;
};

void Here()
{
    g_nArrived = 1;
}

bool LoadText(long nId, CVQString& oText)
{
    oText = nId == 12 ? "Titel" : "";
    return nId == 12;
}
} // namespace

int main()
{
    CVQString::s_pfnLoadString = LoadText;

    CVQString oName("Eagle");
    CShipName oShipName("Eagle", 11);
    CVQString oNone;
    CVQString oEmpty("x");
    oEmpty = "";
    CVQString oQuotes("say \"hi\"\n\x01");
    CVQString oTitle = CVQStringId(12);
    CVQStringId oTitleId(12);
    CVQPath oPath("data/levels/first.lvl");
    CVQPath oNoPath;

    CVQFourCC oTag("DATA");
    CVQFourCC oNoTag;
    CVQFourCC oOddTag(0x41270A5CUL);
    CVQClassType oRoot("Thing");
    CVQClassType oShip("Ship", oRoot);
    CVQClassType oEagle("Eagle", oShip);

    CVQProperty oUndefined;
    CVQProperty oInt(-5);
    CVQProperty oLong(-6L);
    CVQProperty oUnsigned(4000000000UL);
    CVQProperty oTrue(true);
    CVQProperty oFalse(false);
    CVQProperty oFloat(2.5F);
    CVQProperty oText("text");
    CVQProperty oLocalised(CVQStringId(12L));
    CVQProperty oFormatted(7);
    oFormatted.SetFormat("%03d");

    CVQProperty oNoText;
    oNoText.SetType(PROPTYPE_STRING); // the text itself was never made
    CVQProperty oNoListYet;
    oNoListYet.SetType(PROPTYPE_LIST);
    CVQProperty oNoStructYet;
    oNoStructYet.SetType(PROPTYPE_STRUCT);

    CVQPropertyList oNoList;
    CVQPropertyList oList;
    oList.SetListElementType(CVQProperty(0));
    for (int nValue = 10; nValue <= 30; nValue += 10)
        oList.AddListElement(nValue);
    CVQProperty oListProperty(oList);

    CVQPropertyStruct oNoStruct;
    CVQPropertyStruct oPoint;
    oPoint.SetStructureName("Point");
    oPoint["y"] = 4;
    oPoint["x"] = 3;
    CVQProperty oStructProperty(oPoint);

    CVQPropertyManager oNoManager;
    CVQPropertyManager oManager;
    for (const char* pName : {"m", "c", "t", "a", "d", "h"}) // a tree that goes both ways
        oManager[pName] = pName;
    oManager["list"] = oList;
    oManager["at"] = oPoint;

    CVQParams oNoParams;
    CVQParams oParams;
    oParams.Add(1);
    oParams.Add("two");

    const CVQString& oReference = oName;
    CVQPropertyManager* pManager = &oManager;

    // what a debugger meets before an object is made
    alignas(CVQString) unsigned char aNoString[sizeof(CVQString)];
    alignas(CVQProperty) unsigned char aNoProperty[sizeof(CVQProperty)];
    std::memset(aNoString, 0xFF, sizeof(aNoString));
    std::memset(aNoProperty, 0, sizeof(aNoProperty));
    Here();
    return oReference.IsEmpty() || pManager->GetPropertyCount() == 0 ? 1 : 0;
}
