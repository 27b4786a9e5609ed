#include <Common/Profile/VQProfileData.h>

static_assert(sizeof(void*) != 4 || sizeof(CVQProfileData) == 284);

CVQProfileData::CVQProfileData()
    : m_aName(), m_fAverage(0.0F), m_fMinimum(0.0F), m_fMaximum(0.0F), m_fAbsolute(0.0F), m_nInstances(0), m_nParents(0)
{
}

CVQProfileData::~CVQProfileData() = default;

const char* CVQProfileData::GetName() const
{
    return m_aName;
}

float CVQProfileData::GetAverageTimePerFrame() const
{
    return m_fAverage;
}

float CVQProfileData::GetMinimumTimePerFrame() const
{
    return m_fMinimum;
}

float CVQProfileData::GetMaximumTimePerFrame() const
{
    return m_fMaximum;
}

float CVQProfileData::GetAbsoluteTimePerFrame() const
{
    return m_fAbsolute;
}

int CVQProfileData::GetNumInstances() const
{
    return m_nInstances;
}

int CVQProfileData::GetNumParents() const
{
    return m_nParents;
}
