#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// A text of a record: its bytes, or the number of the localised text that stands in its place.
struct sText
{
    std::string m_sBytes;
    std::optional<std::int32_t> m_nId;

    bool IsEmpty() const { return m_sBytes.empty() && !m_nId.has_value(); }

    bool operator==(const sText&) const = default;
};

struct sEntry;

/// A property as a record tells it.
struct sNode
{
    static constexpr char UNKNOWN = '?';

    char m_cType = '-';             ///< as in a record; UNKNOWN for a type that is none
    std::int32_t m_nNumber = 0;     ///< of numbers, bool and string ids; the code of an unknown type
    float m_fFloat = 0;             ///< of floats
    sText m_oText;                  ///< of strings; the structure name of structs
    sText m_oFormat;                ///< in streams
    std::vector<sEntry> m_aNamed;   ///< elements of structs, attributes of lists
    std::vector<sNode> m_aElements; ///< of lists

    bool IsContainer() const { return m_cType == 'a' || m_cType == 'c'; }
};

struct sEntry
{
    sText m_oName;
    sNode m_oValue;
};

/// What a file holds.
enum class eKind
{
    Manager,
    Struct,
    List,
    Params,
    Property
};

/// What a file holds, and how.
struct sLayout
{
    eKind m_nKind = eKind::Manager;
    bool m_bStream = false; ///< a stream record, else a file record

    bool operator==(const sLayout&) const = default;
};

/// Where and why reading stopped.
struct sDamage
{
    std::size_t m_nOffset = 0;
    std::string m_sPath; ///< of the property, "" for the whole
    std::string m_sWhy;
};

/// A whole file. A manager's properties are the named ones of the root, those of a parameter list its elements.
struct sDocument
{
    sLayout m_oLayout;
    sNode m_oRoot;
    std::optional<sDamage> m_oDamage; ///< the root then has what was there before
};

/// The names of layouts: "manager-file", "list-stream" and so on.
std::string NameOf(const sLayout& oLayout);
std::string NameOf(eKind nKind);
std::optional<sLayout> FindLayout(std::string_view sName);

/// "int", "struct", "undefined" and so on; "" for UNKNOWN.
std::string NameOfType(char cType);
/// The type of a name, '\0' for none.
char FindType(std::string_view sName);

/// An element by its index, a name as it is shown in paths.
std::string IndexText(std::size_t nIndex);
std::string NameText(const sText& oName);

/// The attribute that says what elements of a list must be.
constexpr const char* ELEMENT_TYPE = "ElementType";

/// Reads bytes as one layout, as far as they can be read.
sDocument ReadDocument(std::string_view sBytes, const sLayout& oLayout);

/// Finds the layout out and reads: the first one that takes all bytes; else the one that gets furthest.
///
/// @return nothing for bytes that are no property file
std::optional<sDocument> ReadDocument(std::string_view sBytes);

/// The bytes of a document. Names are put in order, the later of two equal ones holds, as the library has it.
///
/// @throws std::runtime_error  for what the layout cannot hold
std::string WriteDocument(const sDocument& oDocument);
