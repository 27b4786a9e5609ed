#pragma once

#include <Common/Export.h>
#include <Common/Property/VQPropertyList.h>
#include <Common/Property/VQPropertyStruct.h>
#include <Common/String/VQPath.h>
#include <Common/String/VQString.h>
#include <Common/String/VQStringId.h>

#include <array>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

class CFileIO;
class CFileReader;
class CFileWriter;
class CStreamWriter;
class CVQDataStream;

/// What a property holds. Each value is the code of a character, which is also what is stored.
enum ePropType : std::uint8_t
{
    PROPTYPE_UNDEFINED = '-', ///< nothing
    PROPTYPE_ULONG = 'L',     ///< an unsigned number of 32 bits
    PROPTYPE_STRINGID = 'S',  ///< a localised text, known by its number
    PROPTYPE_LIST = 'a',      ///< a CVQPropertyList
    PROPTYPE_BOOL = 'b',      ///< true or false
    PROPTYPE_STRUCT = 'c',    ///< a CVQPropertyStruct
    PROPTYPE_FLOAT = 'f',     ///< a number with a fraction, single precision
    PROPTYPE_INT = 'i',       ///< a signed number of 32 bits
    PROPTYPE_LONG = 'l',      ///< a signed number of 32 bits
    PROPTYPE_STRING = 's'     ///< a text
};

/// A value that knows its type: a truth value, a number, a text, a list or a struct of other values.
///
///     CVQProperty oValue(5);                  // an integer
///     oValue.GetPropertyTypeName();           // "Integer"
///     oValue = 2.5F;                          // a float now
///     oValue.AsFormattedString();             // "2.50"
///     oValue = "text";
///     oValue.GetString();                     // "text"
///
/// - There is one slot for numbers, one for floats, one for texts, one for lists and one for structs. Setting a value
///   sets the type and its slot, and leaves the others; reading takes its own slot, whatever the type is. Nothing is
///   converted: after the lines above GetInt() is still 5.
/// - Numbers have 32 bits. An `unsigned long` of 64 bits gets zeros above them, a `long` the sign.
/// - A text that equals the localised text it was loaded from becomes a string id.
/// - A property may have a format for AsFormattedString(). It is saved in streams, and never copied: a copy has none,
///   and assigning leaves the one that is there.
/// - An undefined property takes no memory beside itself.
///
/// In a stream: the type in 4 bytes, the value, then the format as a string record; in a file: the type and the value
/// alone. Both may come from anywhere: counts are held against what is there, and a property that has more than 256
/// levels (itself, a list or struct in it, a property in that, and so on) is refused when it is stored as when it is
/// loaded. So whatever was stored can be loaded.
///
/// An object belongs to one thread at a time.
class COMMON_API CVQProperty
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

    virtual ~CVQProperty()
    {
        if ((m_nSlots & ~SHORT_TEXT) != 0)
            ReleaseSlots();
    }

    /// Writes the property to a storing stream, or reads it from a loading one, without a version.
    ///
    /// A type that is none, an undefined one too, is reported through the log, as a critical error with a message box;
    /// the type and the format are still written and read. A type that does not fit a byte is read as undefined.
    ///
    /// @throws CVQDataStreamException  as CVQDataStream::Put() and CVQDataStream::Get(); 5000 also for a count that is
    ///                                 more than there is; 5004 "Objects are nested too deeply." beyond 256 levels.
    ///                                 A value that was not read whole leaves the property as it was
    virtual void Serialize(CVQDataStream& oStream);

    /// The version of the data format: 256.
    static int GetDataFormatVersion();

    /// An undefined property; all slots are empty.
    CVQProperty() noexcept : CVQProperty(PROPTYPE_UNDEFINED, 0, 0) {}

    /// A property of the type of the argument: see Set().
    CVQProperty(int nValue) noexcept : CVQProperty(PROPTYPE_INT, nValue, 0) {}

    /// A number without a sign, of 32 bits.
    CVQProperty(unsigned long nValue) noexcept : CVQProperty(PROPTYPE_ULONG, static_cast<std::int32_t>(nValue), 0) {}

    /// A number of 32 bits.
    CVQProperty(long nValue) noexcept : CVQProperty(PROPTYPE_LONG, static_cast<std::int32_t>(nValue), 0) {}

    /// A truth value.
    CVQProperty(bool bValue) noexcept : CVQProperty(PROPTYPE_BOOL, bValue ? 1 : 0, 0) {}

    /// A float.
    CVQProperty(float fValue) noexcept : CVQProperty(PROPTYPE_FLOAT, 0, fValue) {}

    /// A text.
    CVQProperty(const CVQString& oValue);
    /// A text; null is the empty one.
    CVQProperty(const char* pValue);
    /// The number of a localised text.
    CVQProperty(const CVQStringId& oValue);
    /// A copy of the struct.
    CVQProperty(const CVQPropertyStruct& oValue);
    /// A copy of the list.
    CVQProperty(const CVQPropertyList& oValue);

    /// A copy of the value alone: the format is not copied, and neither are the slots that the type does not use.
    CVQProperty(const CVQProperty& oOther) : CVQProperty()
    {
        if (!AssignNumber(oOther))
            AssignObject(oOther);
    }

    /// Takes everything over, the format too; oOther is left undefined and empty.
    CVQProperty(CVQProperty&& oOther) noexcept;

    /// Becomes a number; 32 bits are kept.
    void Set(int nValue) noexcept;
    void Set(unsigned long nValue) noexcept;
    void Set(long nValue) noexcept;
    /// Becomes a truth value.
    void Set(bool bValue) noexcept;
    /// Becomes a float.
    void Set(float fValue) noexcept;
    /// Becomes a text, or a string id when the text still equals the localised text it was loaded from.
    void Set(const CVQString& oValue);
    /// The same with a text: see CVQString::operator=(const char*).
    void Set(const char* pValue);
    /// Becomes a localised text, and loads it.
    void Set(const CVQStringId& oValue);
    /// Becomes a copy of a struct or list; one that lies in the own value may be given.
    void Set(const CVQPropertyStruct& oValue);
    void Set(const CVQPropertyList& oValue);

    /// The same as Set().
    const CVQProperty& operator=(int nValue) noexcept;
    const CVQProperty& operator=(unsigned long nValue) noexcept;
    const CVQProperty& operator=(long nValue) noexcept;
    const CVQProperty& operator=(bool bValue) noexcept;
    const CVQProperty& operator=(float fValue) noexcept;
    const CVQProperty& operator=(const CVQString& oValue);
    const CVQProperty& operator=(const char* pValue);
    const CVQProperty& operator=(const CVQStringId& oValue);
    const CVQProperty& operator=(const CVQPropertyStruct& oValue);
    const CVQProperty& operator=(const CVQPropertyList& oValue);

    /// Takes type and value; an undefined property gives its type alone, and the slots stay. The format stays too.
    const CVQProperty& operator=(const CVQProperty& oOther)
    {
        if (!AssignNumber(oOther))
            AssignObject(oOther);
        return *this;
    }

    /// The number slot.
    operator int() const noexcept { return m_nInteger; }

    /// The number slot, with its sign.
    operator long() const noexcept { return m_nInteger; }

    /// The number slot without a sign; above 32 bits it is zero.
    operator unsigned long() const noexcept { return static_cast<std::uint32_t>(m_nInteger); }

    /// The number slot.
    int GetInt() const noexcept { return m_nInteger; }

    /// Whether the number slot is not 0.
    operator bool() const noexcept { return m_nInteger != 0; }

    /// The float slot.
    operator float() const noexcept { return m_fFloat; }

    /// The text slot; a string id whose text is empty loads it first. A short text becomes a string when it is first
    /// asked for here, which takes memory and writes to the object.
    const CVQString& GetString() const;
    /// The same as GetString().
    operator const CVQString&() const;
    /// GetString() as a path.
    operator CVQPath() const;
    /// The number slot as the number of a localised text.
    CVQStringId GetStringId() const noexcept;
    /// The same as GetStringId().
    operator CVQStringId() const noexcept;

    /// The struct slot.
    operator const CVQPropertyStruct&() const noexcept { return Struct(); }

    /// The list slot.
    operator const CVQPropertyList&() const noexcept { return List(); }

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wclass-conversion" // kept: it can be called by name

    /// The property itself.
    operator CVQProperty&() noexcept
    {
        return *this;
    }

#pragma GCC diagnostic pop

    /// What the property holds.
    ePropType GetType() const noexcept
    {
        return m_nType;
    }

    /// Whether GetType() is that type.
    bool IsOfType(ePropType nType) const noexcept
    {
        return m_nType == nType;
    }

    /// Changes the type and no slot.
    void SetType(ePropType nType) noexcept
    {
        m_nType = nType;
    }

    /// A format for AsFormattedString(), as for printf.
    void SetFormat(const CVQString& oFormat);

    /// The format that SetFormat() was given, empty at first.
    const CVQString& GetFormat() const noexcept
    {
        return FormatSlot();
    }

    /// "Integer", "List[Float]", the structure name of a struct, "Undefined porperty type" for a type that is none.
    CVQString GetPropertyTypeName() const;

    /// The value as a text.
    ///
    /// | type    | without a format               | what a format is applied to |
    /// |---------|--------------------------------|-----------------------------|
    /// | numbers | "%d", unsigned ones too        | the number                  |
    /// | bool    | "true" or "false"              | 1 or 0                      |
    /// | float   | "%.2f"                         | the value as a double       |
    /// | texts   | the text                       | see below                   |
    /// | list    | "{ 2 Elements }"               | not used                    |
    /// | struct  | "{ x=1 y=2  }"                 | not used                    |
    /// | none    | "Unkown Property Type"         | not used                    |
    ///
    /// A format of a text gets the words that the CVQString object consists of, not the text: the address of its
    /// virtual table, then lock count, length, capacity, string id, and the text last. Kept: callers rely on it.
    ///
    /// A format may hold anything. A conversion that does not fit its argument ("%s" for a number, "%n", a "*" outside
    /// -1023 to 1023), and one without an argument, is written as it stands. The text is cut at 1023 bytes.
    CVQString AsFormattedString() const;

    /// Clears all slots; the property is undefined then. The format stays.
    void Empty() noexcept;

    /// Reads a property from a file. Codes of older files (1 to 5, 255) are understood. A code that is none leaves the
    /// property as it is.
    ///
    /// @return false for no file, for a file that ends early, and beyond 256 levels; the property then keeps its type
    bool Read(CFileIO* pFile);
    /// Writes the property to a file, without its format.
    ///
    /// @return false for no file, when a write failed, and, with nothing written, beyond 256 levels
    bool Write(CFileIO* pFile) const;

private:
    friend class CPropertyMap;
    friend class CVQParams;
    friend class CVQPropertyList;
    friend class CVQPropertyStruct;

    /// How reading from a file went.
    enum class EResult
    {
        Done,
        Failed, ///< the file ended
        TooDeep
    };

    /// The slots that hold objects; m_nSlots has those that were made. The others are raw memory until somebody asks.
    enum eSlot : std::uint8_t
    {
        STRING_SLOT = 1,
        STRUCT_SLOT = 2,
        LIST_SLOT = 4,
        FORMAT_SLOT = 8,
        SHORT_TEXT = 16 ///< there is a short text where the string would be
    };

    /// A text without a string id in the memory of the string, which is made of it when somebody asks for that: until
    /// then the text is copied without a buffer of its own.
    static constexpr std::uint8_t MAX_SHORT_TEXT = sizeof(CVQString) - 2;

    struct sShortText
    {
        std::uint8_t m_nLength;
        std::uint8_t m_nAllocatedLength; // of the string; not 0
        std::array<char, MAX_SHORT_TEXT> m_aBytes;

        std::string_view View() const noexcept { return {m_aBytes.data(), m_nLength}; }
    };

    CVQProperty(ePropType nType, std::int32_t nInteger, float fFloat) noexcept
        : m_nType(nType), m_nSlots(0), m_nInteger(nInteger), m_fFloat(fFloat)
    {
    }

    template <class TSlot>
    TSlot& Demand(TSlot& oSlot, eSlot nSlot) const noexcept
    {
        if ((m_nSlots & nSlot) == 0)
        {
            std::construct_at(&oSlot);
            m_nSlots = static_cast<std::uint8_t>(m_nSlots | nSlot);
        }
        return oSlot;
    }

    CVQString& String() const
    {
        if (Has(SHORT_TEXT))
            MakeString();
        return Demand(m_oString, STRING_SLOT);
    }

    CVQPropertyStruct& Struct() const noexcept
    {
        return Demand(m_oStruct, STRUCT_SLOT);
    }

    CVQPropertyList& List() const noexcept
    {
        return Demand(m_oList, LIST_SLOT);
    }

    CVQString& FormatSlot() const noexcept
    {
        return Demand(m_oFormat, FORMAT_SLOT);
    }

    bool Has(eSlot nSlot) const noexcept
    {
        return (m_nSlots & nSlot) != 0;
    }

    /// Assigns a property that holds no object.
    ///
    /// @return false for one that does
    bool AssignNumber(const CVQProperty& oOther) noexcept
    {
        switch (oOther.m_nType)
        {
        case PROPTYPE_ULONG:
        case PROPTYPE_INT:
        case PROPTYPE_LONG:
            m_nType = oOther.m_nType;
            m_nInteger = oOther.m_nInteger;
            return true;
        case PROPTYPE_BOOL:
            m_nType = PROPTYPE_BOOL;
            m_nInteger = oOther.m_nInteger != 0 ? 1 : 0;
            return true;
        case PROPTYPE_FLOAT:
            m_nType = PROPTYPE_FLOAT;
            m_fFloat = oOther.m_fFloat;
            return true;
        case PROPTYPE_STRING:
        case PROPTYPE_STRINGID:
        case PROPTYPE_LIST:
        case PROPTYPE_STRUCT:
            return false;
        default:
            m_nType = PROPTYPE_UNDEFINED;
            return true;
        }
    }

    void AssignObject(const CVQProperty& oOther);
    void AssignMoved(CVQProperty& oOther);
    void ReleaseSlots() noexcept;
    void MakeSlots() const;
    void MakeString() const;
    void Reset() noexcept;
    void ReloadString() const;
    void SetLocalised(std::int32_t nId);
    bool AssignShort(std::string_view sText) noexcept;
    void SetText(CVQString&& oValue);
    void ReplaceString(CVQString& oText);

    static void StoreAll(const std::vector<CVQProperty>& aProperties, CStreamWriter& oWriter, unsigned nDepth);
    static void LoadAll(std::vector<CVQProperty>& aProperties, CVQDataStream& oStream, unsigned nDepth);
    static std::uint64_t GetLeastSize();
    void StoreVersioned(CStreamWriter& oWriter, unsigned nDepth) const;
    void LoadVersioned(CVQDataStream& oStream, unsigned nDepth);
    void Store(CStreamWriter& oWriter, unsigned nDepth) const;
    void Load(CVQDataStream& oStream, unsigned nDepth);
    void LoadString(CVQDataStream& oStream);
    EResult Read(CFileReader& oReader, unsigned nDepth);
    template <class TValue>
    EResult ReadAndSet(CFileReader& oReader);
    bool Write(CFileWriter& oWriter) const;
    bool IsDeeperThan(unsigned nLevels) const;

    [[noreturn]] static void ThrowTooDeep();
    [[noreturn]] static void ThrowException(unsigned long nCode, unsigned long nLine, const char* pFile,
                                            const char* pMessage);

    ePropType m_nType;
    mutable std::uint8_t m_nSlots;
    std::int32_t m_nInteger;
    float m_fFloat;

    union
    {
        mutable CVQString m_oString;
        sShortText m_oShortText;
    };

    union
    {
        mutable CVQPropertyStruct m_oStruct;
    };

    union
    {
        mutable CVQPropertyList m_oList;
    };

    union
    {
        mutable CVQString m_oFormat;
    };
};
