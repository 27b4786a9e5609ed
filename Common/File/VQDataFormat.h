#pragma once

#include <Common/Export.h>
#include <Common/String/VQString.h>

#include <cstdint>
#include <vector>

class CVQDataStream;
class CVQVariableControllerBase;

/// The layout of a plain record in memory: a named list of variables, each known since some version of the format.
///
///     CIntController oHealth(offsetof(sShip, m_nHealth));
///     CIntController oShield(offsetof(sShip, m_nShield));
///
///     CVQDataFormat oFormat("Ship", 2);
///     oFormat.AddVariable(1, oHealth);
///     oFormat.AddVariable(2, oShield);               // new in version 2
///     oFormat.Serialize(reinterpret_cast<unsigned char*>(&oShip), oStream);
///
/// What an older version stored is loaded too: variables that came later keep the values that the record has.
///
/// In a stream: the byte 'F', the name as a string record, the version in 4 bytes, then what each controller writes.
///
/// The controllers stay the caller's and must outlive the format. An object belongs to one thread at a time.
class COMMON_API CVQDataFormat
{
public:
    /// A format without variables.
    ///
    /// @param oName     what records of this format are recognised by
    /// @param nVersion  the version that is stored; 32 bits
    CVQDataFormat(const CVQString& oName, int nVersion);
    CVQDataFormat(const CVQDataFormat& oOther);
    CVQDataFormat& operator=(const CVQDataFormat& oOther);

    virtual ~CVQDataFormat();

    /// Appends a variable.
    ///
    /// @param nVersion     the version of the format that brought the variable; 32 bits
    /// @param oController  writes and reads it; it is not copied
    virtual void AddVariable(int nVersion, CVQVariableControllerBase& oController);

    /// Writes all variables to a storing stream, or reads those from a loading one that its version already had.
    ///
    /// Data that does not begin with 'F' is left alone behind that byte, and data of another format behind its name;
    /// the record is then as it was.
    ///
    /// @param pRecord  the record, handed to the controllers
    /// @throws CVQDataStreamException  as CVQDataStream::Put() and CVQDataStream::Get()
    virtual void Serialize(unsigned char* pRecord, CVQDataStream& oStream);

private:
    /// A variable and the version of the format that brought it.
    struct SVariable
    {
        std::int32_t m_nVersion;
        CVQVariableControllerBase* m_pController;
    };

    void SaveData(unsigned char* pRecord, CVQDataStream& oStream);
    void LoadData(unsigned char* pRecord, CVQDataStream& oStream);

    std::vector<SVariable> m_aVariables;
    std::int32_t m_nVersion;
    CVQString m_oName;
};
