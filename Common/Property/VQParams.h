#pragma once

#include <Common/Export.h>
#include <Common/Property/VQProperty.h>

#include <vector>

class CFileIO;
class CVQDataStream;

/// The parameters of a call, by position, with checks for the one who receives them.
///
///     void MoveShip(const CVQParams& oParams)
///     {
///         oParams.ExpectParameterCount(2);
///         oParams.ExpectParameterType(0, PROPTYPE_STRING);
///         oParams.ExpectParameterType(1, PROPTYPE_FLOAT);
///         FindShip(oParams[0].GetString()).Move(oParams[1]);
///     }
///
///     CVQParams oParams;
///     oParams[0] = "Ann";                             // the list grows as it is written to
///     oParams[1] = 2.5F;
///     MoveShip(oParams);
///
/// A parameter that is undefined counts as absent. Indexes are checked in debug builds alone, unless said otherwise. A
/// reference to a parameter holds until the list grows or shrinks.
///
/// In a stream: the byte 'v', the number of parameters in 4 bytes and each of them. In a file: the same without 'v'.
/// See CVQProperty for what loading takes and refuses.
///
/// An object belongs to one thread at a time.
class COMMON_API CVQParams
{
protected:
    /// The version that objects of this class are stored with; 65535 stores no version. A program that changes it does
    /// so before it stores or loads anything.
    static int _m_nDataFormatVersion;

    /// The same as GetDataFormatVersion(), for the class that the object is of.
    virtual int _GetDataFormatVersion() const;

public:
    /// Whether the object can write itself to a stream: true.
    virtual bool CanSerialize() const;

    virtual ~CVQParams();

    /// Reads a list from a file in place of this one.
    ///
    /// @return false for no file, where the file ends, and where lists and structs are nested too deeply; the
    ///         parameters that were read before stay
    virtual bool Read(CFileIO* pFile);
    /// Writes the list to a file.
    ///
    /// @return false for no file, as soon as a write fails and, with nothing written, where lists and structs are
    ///         nested too deeply
    virtual bool Write(CFileIO* pFile) const;

    /// Writes the list to a storing stream, or reads it from a loading one.
    ///
    /// Loading reads into the parameters that are there, adds those that are missing and removes what is too much;
    /// where 'v' does not stand the list stays as it is.
    ///
    /// @throws CVQDataStreamException  as CVQProperty::Serialize(). The parameters that were read whole stay
    virtual void Serialize(CVQDataStream& oStream);

    /// A list of undefined parameters.
    ///
    /// @param nCount  how many; none for a negative one
    CVQParams(long nCount = 0);
    CVQParams(const CVQParams& oOther);
    /// Takes the parameters over; oOther is left empty.
    CVQParams(CVQParams&& oOther) noexcept;
    CVQParams& operator=(const CVQParams& oOther);

    /// The version of the data format: 256.
    static int GetDataFormatVersion();

    /// Number of parameters, undefined ones too.
    long GetCount() const;
    bool IsEmpty() const;

    /// Whether there is a parameter at an index, any one, and it is not undefined.
    bool DoesExist(long nIndex) const;

    /// A parameter.
    const CVQProperty& Get(long nIndex) const;
    const CVQProperty& operator[](long nIndex) const;
    /// A parameter; beyond the end the list grows up to it.
    CVQProperty& Get(long nIndex);
    CVQProperty& operator[](long nIndex);

    /// Appends a copy.
    void Add(const CVQProperty& oParameter);
    /// Inserts a copy before the parameter at an index, or at the end for the number of parameters. Any other index
    /// does nothing.
    void InsertAt(long nIndex, const CVQProperty& oParameter);

    /// Removes a parameter: those behind it are assigned one place down, as CVQProperty assigns, and the last one goes.
    ///
    /// The number of parameters as index removes the last one. Kept: callers rely on it. Any other index does nothing.
    void Remove(long nIndex);
    void RemoveAll();
    /// The same as RemoveAll().
    void Reset();

    /// Adds undefined parameters at the end, or removes from it; a negative number counts as 0.
    void ResizeList(long nCount);

    /// Clears parameter 0, whatever the index is; an empty list gets one. Kept: callers rely on it.
    void ResetAt(long nIndex);

    /// @name Checks
    /// Each throws CVQParamsException when it does not hold.
    /// @{
    /// There is a parameter: see DoesExist(). Throws 6003 "Parameter %d is missing".
    void ExpectParameter(long nIndex) const;
    /// The parameter is of a type; it must be there. Throws 6002 "Parameter %d is of wrong type".
    void ExpectParameterType(long nIndex, ePropType nType) const;
    /// There are at least so many parameters. Throws 6001 "Wrong number of parameters".
    void ExpectParameterCount(long nCount) const;
    /// @}

private:
    [[noreturn]] void ThrowException(unsigned long nCode, unsigned long nLine, const char* pFile,
                                     const char* pMessage) const;

    std::vector<CVQProperty> m_aParameters;
};
