#pragma once

#include <Common/Export.h>
#include <Common/Property/VQProperty.h>
#include <Common/String/VQString.h>

#include <memory>

class CFileIO;
class CPropertyMap;
class CVQDataStream;

/// The settings of a component: properties by name.
///
///     CVQPropertyManager oSettings;
///     oSettings.SetProperty("Volume", 0.8F);
///     oSettings.SetProperty("Player", "Ann");
///
///     CFileIO oFile;
///     oFile.Open("settings.vqp", CFileIO::WRITE);
///     oSettings.Write(&oFile);
///     const bool bSaved = oFile.Flush();              // Write() does not tell
///
///     CVQProperty oVolume;
///     oSettings.GetProperty("Volume", oVolume);
///     oVolume.IsOfType(PROPTYPE_FLOAT);               // true; undefined if there were no such property
///
/// Properties stand in the order of their names, byte by byte: "B" comes before "a". Names are compared by
/// CVQString::Compare(), so what stands behind a zero byte does not count. A reference to a property holds until that
/// property is removed, whatever becomes of the others.
///
/// In a stream: the byte 'm', the number of properties in 4 bytes and for each its name and its value. In a file: the
/// same without 'm'. See CVQProperty for what loading takes and refuses.
///
/// An object belongs to one thread at a time.
class COMMON_API CVQPropertyManager
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

    virtual ~CVQPropertyManager();

    /// Reads properties from a file, beside those that are there and over those of the same name.
    ///
    /// Where the file ends early the manager has what was there.
    ///
    /// @return true; false for no file and where lists and structs are nested too deeply
    virtual bool Read(CFileIO* pFile);
    /// Writes the properties to a file.
    ///
    /// @return true, also when it could not be written: ask CFileIO::Flush(). False for no file and, with nothing
    ///         written, where lists and structs are nested too deeply
    virtual bool Write(CFileIO* pFile);

    /// Writes the properties to a storing stream, or reads them from a loading one.
    ///
    /// Loading replaces the properties; they stay as they are where 'm' does not stand.
    ///
    /// @throws CVQDataStreamException  as CVQProperty::Serialize(). The properties that were read whole stay
    virtual void Serialize(CVQDataStream& oStream);

    /// No properties.
    CVQPropertyManager() noexcept;
    /// Copies the properties.
    CVQPropertyManager(const CVQPropertyManager& oOther);
    /// Takes the properties over; oOther is left empty.
    CVQPropertyManager(CVQPropertyManager&& oOther) noexcept;
    /// Copies the properties.
    CVQPropertyManager& operator=(const CVQPropertyManager& oOther);

    /// The version of the data format: 256.
    static int GetDataFormatVersion();

    /// Adds a property, or assigns to the one of that name.
    void SetProperty(const char* pName, const CVQProperty& oValue);
    void SetProperty(const CVQString& oName, const CVQProperty& oValue);

    /// Assigns the property of a name.
    ///
    /// @param oValue  becomes undefined when there is none; its slots stay then
    void GetProperty(const char* pName, CVQProperty& oValue) const;
    void GetProperty(const CVQString& oName, CVQProperty& oValue) const;

    /// Whether there is a property of a name.
    bool HasProperty(const char* pName) const;
    bool HasProperty(const CVQString& oName) const;

    /// The property of a name. When there is none: a property that all managers share, whose type is set to undefined
    /// each time; what is written to it is lost.
    CVQProperty& FindProperty(const char* pName);
    CVQProperty& FindProperty(const CVQString& oName);
    const CVQProperty& FindProperty(const char* pName) const;
    const CVQProperty& FindProperty(const CVQString& oName) const;

    /// The property of a name; when there is none an undefined one is added.
    CVQProperty& operator[](const char* pName);
    CVQProperty& operator[](const CVQString& oName);
    /// The same as FindProperty(): nothing is added.
    const CVQProperty& operator[](const char* pName) const;
    const CVQProperty& operator[](const CVQString& oName) const;

    /// Removes the property of a name if there is one.
    void RemoveProperty(const char* pName);
    void RemoveProperty(const CVQString& oName);
    void RemoveAllProperties();

    /// Number of properties.
    int GetPropertyCount() const;

    /// Copies the first property, and tells where it stands: see CVQPropertyStruct::GetFirstElement().
    ///
    /// @return false when there are none
    bool GetFirstProperty(CVQString& oName, CVQProperty& oValue, long& nPosition) const;
    /// Copies the property behind the one at a position, and moves the position to it.
    ///
    /// @return false at the end, and for a position of no property; the other arguments stay
    bool GetNextProperty(CVQString& oName, CVQProperty& oValue, long& nPosition) const;

private:
    static CVQProperty& Missing();
    static CVQProperty& MissingConst();

    std::unique_ptr<CPropertyMap> m_pProperties; // null while there are none
};
