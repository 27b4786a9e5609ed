#include <Common/String/VQStringId.h>

CVQStringId::CVQStringId(long nId) noexcept : m_nId(static_cast<std::int32_t>(nId)) {}

CVQStringId::CVQStringId(const CVQStringId&) noexcept = default;

CVQStringId::~CVQStringId() = default;

CVQStringId& CVQStringId::operator=(long nId) noexcept
{
    m_nId = static_cast<std::int32_t>(nId);
    return *this;
}

CVQStringId& CVQStringId::operator=(const CVQStringId&) noexcept = default;
