#pragma once

#include <string>

/// Sets a variable of the environment for the life of the object, and then puts the old state back.
///
/// The environment belongs to the whole process: no other thread may read it meanwhile.
class CTestEnvironment
{
public:
    /// @param pValue  the new value; null removes the variable
    CTestEnvironment(const char* pName, const char* pValue);
    ~CTestEnvironment();

    CTestEnvironment(const CTestEnvironment&) = delete;
    CTestEnvironment& operator=(const CTestEnvironment&) = delete;

private:
    std::string m_sName;
    std::string m_sOldValue;
    bool m_bWasSet;
};
