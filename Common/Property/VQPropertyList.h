#pragma once

#include <Common/Export.h>
#include <Common/String/VQString.h>

#include <memory>
#include <vector>

class CFileIO;
class CFileReader;
class CFileWriter;
class CPropertyMap;
class CStreamWriter;
class CVQDataStream;
class CVQProperty;

/// Properties of one type in a row, addressed by their index.
///
///     #include <Common/Property/VQProperty.h>
///
///     CVQPropertyList oScores;
///     oScores.SetListElementType(CVQProperty(0));     // elements are integers
///     oScores.AddListElement(CVQProperty(4711));
///     oScores.AddListElement(CVQProperty(0.5F));      // false: a float is refused
///     oScores.GetListElement(0).GetInt();             // 4711
///
/// A list has named attributes beside its elements. There is one, "ElementType": a property whose type every element
/// must have and, where that is a struct, whose structure name too. A list without it takes undefined properties only;
/// set it first.
///
/// Indexes are checked in debug builds alone. A reference to an element holds until the next one is added or removed.
///
/// In a stream: the byte 'L', the number of elements in 4 bytes and each element; then the byte 'M', the number of
/// attributes in 4 bytes and for each, in the order of the names, its name and its value. In a file: number and
/// attributes, then number and elements. See CVQProperty for what loading takes and refuses.
///
/// An object belongs to one thread at a time.
class COMMON_API CVQPropertyList
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

    virtual ~CVQPropertyList();

    /// Writes the list to a storing stream, or reads it from a loading one.
    ///
    /// Loading reads into the elements that are there, adds those that are missing and removes what is too much. Where
    /// 'L' or 'M' does not stand, the elements or the attributes stay as they are.
    ///
    /// @throws CVQDataStreamException  as CVQProperty::Serialize(). The elements that were read whole stay
    virtual void Serialize(CVQDataStream& oStream);

    /// An empty list without an element type.
    CVQPropertyList() noexcept;
    /// Copies elements and attributes.
    CVQPropertyList(const CVQPropertyList& oOther);
    /// Takes elements and attributes over; oOther is left empty.
    CVQPropertyList(CVQPropertyList&& oOther) noexcept;
    /// Copies elements and attributes; an own element may be or hold oOther.
    CVQPropertyList& operator=(const CVQPropertyList& oOther);

    /// The version of the data format: 256.
    static int GetDataFormatVersion();

    /// Says what elements must be; those that are there stay.
    void SetListElementType(const CVQProperty& oTemplate);
    /// What elements must be; an undefined property when that was never said.
    const CVQProperty& GetListElementType() const;

    /// Appends a copy.
    ///
    /// @return false when the property is not of the element type
    bool AddListElement(const CVQProperty& oElement);
    /// Assigns to an element.
    ///
    /// @return false when the property is not of the element type
    bool SetListElementAt(long nIndex, const CVQProperty& oElement);
    /// Removes an element: those behind it are assigned one place down, as CVQProperty assigns, and the last one goes.
    ///
    /// @return true
    bool RemoveListElement(long nIndex);
    /// Removes all elements; the attributes stay.
    ///
    /// @return true
    bool RemoveAllListElements();

    /// An element.
    CVQProperty& GetListElement(long nIndex);

    /// Number of elements.
    int GetCount() const;

    /// "{ 3 Elements }".
    CVQString AsFormattedString() const;
    /// "List[Integer]": the name of the element type between the brackets.
    CVQString GetPropertyTypeName() const;

    /// Reads a list from a file. The elements are replaced; attributes are added to those that are there.
    ///
    /// Elements that are not of the element type are dropped. Where the file ends early the list has what was there.
    ///
    /// @return true; false for no file and where lists and structs are nested too deeply
    bool Read(CFileIO* pFile);
    /// Writes the list to a file.
    ///
    /// @return true; false for no file and, with nothing written, where lists and structs are nested too deeply
    bool Write(CFileIO* pFile) const;

private:
    friend class CVQProperty;

    bool CheckValidPropertyType(const CVQProperty& oElement) const;
    void TakeOver(CVQPropertyList& oOther) noexcept;

    void Store(CStreamWriter& oWriter, unsigned nDepth) const;
    void Load(CVQDataStream& oStream, unsigned nDepth);
    bool Read(CFileReader& oReader, unsigned nDepth);
    bool Write(CFileWriter& oWriter) const;
    bool IsDeeperThan(unsigned nLevels) const;

    std::vector<CVQProperty> m_aElements;
    std::unique_ptr<CPropertyMap> m_pAttributes; // null while there are none
};
