#pragma once

#include <Common/Export.h>
#include <Common/String/VQString.h>

#include <memory>

class CFileIO;
class CFileReader;
class CFileWriter;
class CPropertyMap;
class CStreamWriter;
class CVQDataStream;
class CVQProperty;

/// Named properties that belong together, and a name for what they are.
///
///     #include <Common/Property/VQProperty.h>
///
///     CVQPropertyStruct oPoint;
///     oPoint.SetStructureName("Point");
///     oPoint["x"] = 3;
///     oPoint["y"] = 4;
///     oPoint.AsFormattedString();                     // "{ x=3 y=4  }"
///
///     CVQString oName;
///     CVQProperty oValue;
///     long nPosition;
///     for (bool b = oPoint.GetFirstElement(oName, oValue, nPosition); b;
///          b = oPoint.GetNextElement(oName, oValue, nPosition))
///         ...
///
/// Two structs are of the same kind when their structure names are equal; CVQPropertyList asks that of its elements.
///
/// Elements stand in the order of their names, byte by byte: "B" comes before "a". Names are compared by
/// CVQString::Compare(), so what stands behind a zero byte does not count. A reference to an element holds until that
/// element is removed, whatever becomes of the others.
///
/// In a stream: the byte 'm', the number of elements in 4 bytes, for each its name and its value, then the structure
/// name. In a file: the same without 'm'. See CVQProperty for what loading takes and refuses.
///
/// An object belongs to one thread at a time.
class COMMON_API CVQPropertyStruct
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

    virtual ~CVQPropertyStruct();

    /// Writes the struct to a storing stream, or reads it from a loading one.
    ///
    /// Loading replaces the elements; they stay as they are where 'm' does not stand. An empty structure name in the
    /// stream leaves the own one as it is.
    ///
    /// @throws CVQDataStreamException  as CVQProperty::Serialize(). The elements that were read whole stay
    virtual void Serialize(CVQDataStream& oStream);

    /// No elements and no structure name.
    CVQPropertyStruct() noexcept;
    /// Copies elements and structure name.
    CVQPropertyStruct(const CVQPropertyStruct& oOther);
    /// Takes elements and structure name over; oOther is left empty.
    CVQPropertyStruct(CVQPropertyStruct&& oOther) noexcept;
    /// Copies elements and structure name; an own element may be or hold oOther.
    CVQPropertyStruct& operator=(const CVQPropertyStruct& oOther);

    /// The version of the data format: 256.
    static int GetDataFormatVersion();

    /// The kind of the struct; empty at first.
    void SetStructureName(const CVQString& oName);
    const CVQString& GetStructureName() const;

    /// Adds an element, or assigns to the one of that name.
    ///
    /// @return true
    bool AddStructElement(CVQString oName, CVQProperty oValue);
    /// Removes the element of a name if there is one.
    ///
    /// @return true
    bool RemoveStructElement(CVQString oName);
    /// Removes all elements; the structure name stays.
    ///
    /// @return true
    bool RemoveAllStructElements();

    /// The element of a name. When there is none: a property that all structs share, whose type is set to undefined
    /// each time; what is written to it is lost.
    CVQProperty& FindElement(const CVQString& oName);
    const CVQProperty& FindElement(const CVQString& oName) const;

    /// The element of a name; when there is none an undefined property is added.
    CVQProperty& operator[](const char* pName);
    /// The same as FindElement(): nothing is added.
    const CVQProperty& operator[](const char* pName) const;

    /// Number of elements.
    int GetElementCount() const;

    /// Copies the first element.
    ///
    /// @param oValue     is assigned to, as CVQProperty assigns
    /// @param nPosition  where the element stands, for GetNextElement(); good while the struct is not changed. It fits
    ///                   32 bits and says nothing else
    /// @return           false when there are no elements
    bool GetFirstElement(CVQString& oName, CVQProperty& oValue, long& nPosition) const;
    /// Copies the element behind the one at a position, and moves the position to it.
    ///
    /// @return false at the end, and for a position of no element; the other arguments stay
    bool GetNextElement(CVQString& oName, CVQProperty& oValue, long& nPosition) const;

    /// "{ x=3 y=4  }", "{  }" without elements.
    CVQString AsFormattedString() const;

    /// Reads elements from a file, beside those that are there and over those of the same name, and the structure name.
    ///
    /// Where the file ends early the struct has what was there.
    ///
    /// @return true; false for no file and where lists and structs are nested too deeply
    bool Read(CFileIO* pFile);
    /// Writes the struct to a file.
    ///
    /// @return true; false for no file and, with nothing written, where lists and structs are nested too deeply
    bool Write(CFileIO* pFile) const;

private:
    friend class CVQProperty;

    static CVQProperty& MissingConst();
    void TakeOver(CVQPropertyStruct& oOther) noexcept;

    void Store(CStreamWriter& oWriter, unsigned nDepth) const;
    void Load(CVQDataStream& oStream, unsigned nDepth);
    bool Read(CFileReader& oReader, unsigned nDepth);
    bool Write(CFileWriter& oWriter) const;
    bool IsDeeperThan(unsigned nLevels) const;

    std::unique_ptr<CPropertyMap> m_pElements; // null while there are none
    CVQString m_oStructureName;
};
