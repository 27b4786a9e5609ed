#pragma once

// Not for users.

/// The control character that a letter behind a backslash stands for; 0 when it stands for none.
constexpr char GetControlEscape(int nLetter) noexcept
{
    switch (nLetter)
    {
    case 'a':
        return '\a';
    case 'b':
        return '\b';
    case 'f':
        return '\f';
    case 'n':
        return '\n';
    case 'r':
        return '\r';
    case 't':
        return '\t';
    case 'v':
        return '\v';
    default:
        return '\0';
    }
}
