#include "TestEnvironment.h"

#include <cstdlib>

namespace
{
void SetVariable(const char* pName, const char* pValue)
{
#ifdef _WIN32
    _putenv_s(pName, pValue != nullptr ? pValue : "");
#else
    if (pValue != nullptr)
        setenv(pName, pValue, 1);
    else
        unsetenv(pName);
#endif
}
} // namespace

CTestEnvironment::CTestEnvironment(const char* pName, const char* pValue) : m_sName(pName), m_bWasSet(false)
{
    if (const char* pOldValue = std::getenv(pName))
    {
        m_sOldValue = pOldValue;
        m_bWasSet = true;
    }
    SetVariable(pName, pValue);
}

CTestEnvironment::~CTestEnvironment()
{
    SetVariable(m_sName.c_str(), m_bWasSet ? m_sOldValue.c_str() : nullptr);
}
