#include <Common/String/VQClassType.h>

#include <Common/Debug/Log.h>

CVQClassType::CVQClassType(const char* pName) : m_pParent(nullptr), m_oName(pName) {}

CVQClassType::CVQClassType(const char* pName, const CVQClassType& oParent) : m_pParent(&oParent), m_oName(pName) {}

CVQClassType::CVQClassType(const CVQClassType&) = default;

CVQClassType::~CVQClassType() = default;

CVQClassType& CVQClassType::operator=(const CVQClassType&) = default;

const CVQClassType& CVQClassType::GetParentType() const
{
    VQ_DEBUG_ASSERT(!IsRoot(), "a root has no parent type");
    return *m_pParent;
}

bool CVQClassType::IsDerivedFrom(const CVQClassType& oOther) const noexcept
{
    const CVQClassType* pType = this;
    while (pType != nullptr && pType != &oOther)
        pType = pType->m_pParent;
    return pType != nullptr;
}

CVQString CVQClassType::GetFullName() const
{
    CVQString oPath;
    for (const CVQClassType* pType = this; pType != nullptr; pType = pType->m_pParent)
    {
        CVQString oLonger;
        oLonger += pType->m_oName;
        oLonger += '/';
        oLonger += oPath;
        oPath = oLonger;
    }
    return oPath;
}
