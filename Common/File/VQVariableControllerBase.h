#pragma once

#include <Common/Export.h>
#include <Common/String/VQFourCC.h>

#include <cstdint>

class CVQDataStream;

/// Writes and reads one variable of a record in memory; CVQDataFormat calls one for each variable.
///
/// A program derives a controller for each type of variable that its records have:
///
///     class CIntController : public CVQVariableControllerBase
///     {
///     public:
///         CIntController(int nOffset) : CVQVariableControllerBase(nOffset, 0x494E5433) {}
///
///         void Serialize(unsigned char* pRecord, CVQDataStream& oStream) override
///         {
///             std::int32_t& nVariable = *reinterpret_cast<std::int32_t*>(pRecord + GetValue());
///             oStream.IsStoring() ? oStream.Put(&nVariable, 4) : oStream.Get(&nVariable, 4);
///         }
///     };
///
/// An object belongs to one thread at a time.
class COMMON_API CVQVariableControllerBase
{
public:
    /// @param nValue   what a derived controller finds its variable by, such as the offset within the record; 32 bits
    /// @param nFourCC  the code of the variable, its first character in the highest byte
    CVQVariableControllerBase(int nValue, unsigned long nFourCC);
    CVQVariableControllerBase(const CVQVariableControllerBase& oOther);
    CVQVariableControllerBase& operator=(const CVQVariableControllerBase& oOther);

    virtual ~CVQVariableControllerBase();

    /// Writes the variable to a storing stream, or reads it from a loading one.
    ///
    /// This one, of the base, writes the code of the variable, and reads four bytes that it does not look at.
    ///
    /// @param pRecord  the record that the variable lies in
    /// @throws CVQDataStreamException  as CVQDataStream::Put() and CVQDataStream::Get()
    virtual void Serialize(unsigned char* pRecord, CVQDataStream& oStream);

    /// The code of the variable.
    const CVQFourCC& GetCode() const noexcept { return m_oCode; }

protected:
    /// The first argument of the constructor.
    int GetValue() const noexcept { return m_nValue; }

private:
    CVQFourCC m_oCode;
    std::int32_t m_nValue;
};

static_assert(sizeof(void*) != 4 || sizeof(CVQVariableControllerBase) == 20, "the layout that the 32-bit callers know");
