#include <Common/File/VQDataStream.h>
#include <Common/File/VQVariableControllerBase.h>

CVQVariableControllerBase::CVQVariableControllerBase(int nValue, unsigned long nFourCC)
    : m_oCode(nFourCC), m_nValue(nValue)
{
}

CVQVariableControllerBase::CVQVariableControllerBase(const CVQVariableControllerBase&) = default;

CVQVariableControllerBase& CVQVariableControllerBase::operator=(const CVQVariableControllerBase&) = default;

CVQVariableControllerBase::~CVQVariableControllerBase() = default;

void CVQVariableControllerBase::Serialize(unsigned char* /*pRecord*/, CVQDataStream& oStream)
{
    auto nCode = static_cast<std::uint32_t>(m_oCode.ToDword());
    if (oStream.IsStoring())
        oStream.Put(&nCode, sizeof nCode);
    else
        oStream.Get(&nCode, sizeof nCode);
}
