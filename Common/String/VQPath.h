#pragma once

#include <Common/Export.h>
#include <Common/String/VQString.h>

#include <string_view>

/// The path of a file or a folder, held as text.
///
///     CVQPath oPath("game/data/level.dat");
///     oPath.GetFileName(false);               // "level"
///     oPath.GetExtension();                   // ".dat"
///     oPath.GetPath();                        // "game/data"
///     CVQPath oOther("game");
///     oOther.Append("save.dat");              // "game\save.dat"
///
/// Both separators, backslash and forward slash, are understood everywhere, and the text stays as it was written until
/// a Make... operation changes it. Only GetAttributes() and GetPathAttributes() look at the disk.
///
/// The components of a path are counted by the separators at position 1 and later: one at position 0 (leading) begins
/// no component, and one at the very end (trailing) closes the last one.
///
///     text     components
///     ""       0
///     "a"      1
///     "a/b"    2   a, b
///     "a/b/"   2   a, b
///     "/a/b"   2   a, b
///     "a//b"   3   a, (empty), b
///
/// Comparisons ignore the case of letters and take separators as they are written: "a/b" is not "a\b". Use
/// MakeForwardslashes() or MakeBackwardslashes() on both before.
///
/// An object belongs to one thread at a time.
class COMMON_API CVQPath
{
public:
    /// An empty path, or one that holds a text; a null text leaves it empty.
    CVQPath() noexcept;
    CVQPath(const char* pText);
    CVQPath(const CVQString& oText);
    CVQPath(const CVQPath& oOther);
    CVQPath(CVQPath&& oOther) noexcept;
    virtual ~CVQPath();

    /// Takes a text over.
    CVQPath& operator=(const CVQPath& oOther);
    CVQPath& operator=(CVQPath&& oOther);
    CVQPath& operator=(const CVQString& oText);
    CVQPath& operator=(const char* pText);
    /// The same as Append().
    CVQPath& operator+=(const CVQPath& oOther);

    /// The text.
    operator const CVQString&() const noexcept { return m_oText; }

    /// The text, zero-terminated; null for a path that was never filled.
    const char* operator~() const noexcept { return ~m_oText; }

    /// Takes the text away.
    void Empty() noexcept;

    /// Length in bytes.
    long GetLength() const noexcept { return m_oText.GetLength(); }

    /// Whether there is no text, as for a path that was never filled.
    bool IsEmpty() const noexcept { return m_oText.IsEmpty(); }

    /// Compares the whole text without regard to case.
    ///
    /// @return negative, 0 or positive
    int CompareNoCase(const char* pText) const;

    /// Changes the case of all letters, as the locale has it.
    void MakeLower() noexcept;
    void MakeUpper() noexcept;
    /// The same as MakeLower().
    void MakePretty() noexcept;
    /// Turns every backslash into a forward slash.
    ///
    /// @return how many there were
    int MakeForwardslashes() noexcept;
    /// Turns every forward slash into a backslash.
    ///
    /// @return how many there were
    int MakeBackwardslashes() noexcept;

    /// Tells whether a character is a separator of either kind.
    static bool IsSlash(char cText) noexcept { return cText == '\\' || cText == '/'; }

    /// Tells whether a character is one of A to Z and a to z.
    static bool IsDriveLetter(char cText) noexcept
    {
        return (cText >= 'A' && cText <= 'Z') || (cText >= 'a' && cText <= 'z');
    }

    /// Tells whether the first byte is a separator of either kind. Here as in the next five the answer for an empty
    /// path is no.
    bool HasLeadingSlash() const noexcept;
    bool HasLeadingBackslash() const noexcept;
    bool HasLeadingForwardslash() const noexcept;
    bool HasTrailingSlash() const noexcept;
    bool HasTrailingBackslash() const noexcept;
    bool HasTrailingForwardslash() const noexcept;

    /// Appends a backslash unless there is one; a path that ends in a forward slash gets a second separator.
    void AddTrailingBackslash();
    /// Appends a forward slash unless there is one; a path that ends in a backslash gets a second separator.
    void AddTrailingForwardslash();
    /// Puts a backslash in front unless there is one.
    void AddLeadingBackslash();
    /// Puts a forward slash in front unless there is one.
    void AddLeadingForwardslash();
    /// Removes one backslash at the end.
    void RemoveTrailingBackslash();
    /// Removes one forward slash at the end.
    void RemoveTrailingForwardslash();
    /// Removes one backslash at the beginning. (There is no counterpart for forward slashes.)
    void RemoveLeadingBackslash();

    /// Tells whether the first two bytes are backslashes.
    bool IsUNC() const noexcept;

    /// Joins another path behind this one, with a backslash between them unless this one is empty or ends in a
    /// separator.
    ///
    /// The other text is taken as it is: its leading separator stays, so that two can meet.
    void Append(const CVQPath& oOther);

    /// The text before the last separator; empty when there is none. A separator at position 0 is not seen. Kept:
    /// callers rely on it.
    CVQPath GetPath() const;
    /// Keeps only the text behind the last separator. A separator at position 0 is not seen. Kept: callers rely on it.
    void StripPath();

    /// The last component, without a trailing separator.
    ///
    /// @param bWithExtension  false to cut it at its last dot; nothing is left of a name like ".cfg" then
    CVQString GetFileName(bool bWithExtension) const;

    /// Position of the last dot, when it lies behind the first byte of the last component; else -1.
    int FindExtension() const;
    /// The text from FindExtension() to the end, with the dot; empty when there is none.
    CVQString GetExtension() const;
    /// Appends a text as it is; no dot is added.
    void AddExtension(const CVQString& oExtension);
    /// Cuts the text at FindExtension().
    void RemoveExtension();

    /// How many components there are, as the table above counts them.
    int GetNumPathComponents() const noexcept;
    /// A run of components, with the separators between them as they are written.
    ///
    /// @param nStart  the first component, counted from 0
    /// @param nCount  how many; where the path ends first, everything up to its end, a trailing separator included
    CVQString GetComponent(int nStart, int nCount) const;
    /// Position of the first byte of a component; 0 when there is no such component.
    ///
    /// @param nIndex  counted from 0
    int GetComponentPosition(int nIndex) const noexcept;

    /// Begins a walk through the components.
    ///
    ///     CVQString oName;
    ///     long nPosition;
    ///     for (bool bGo = oPath.GetFirstComponent(oName, nPosition); bGo;
    ///          bGo = oPath.GetNextComponent(oName, nPosition))
    ///         ...
    ///
    /// @param oComponent  receives the first component
    /// @param nPosition   receives the place of the walk
    /// @return            false when the path is empty
    bool GetFirstComponent(CVQString& oComponent, long& nPosition) const;
    /// Goes on with the walk. A path with a trailing separator ends in one empty component.
    ///
    /// @return false when there is no more; oComponent is then as it was
    bool GetNextComponent(CVQString& oComponent, long& nPosition) const;

    /// Number of the drive that the path begins with: 0 for "A:" or "a:", up to 25; -1 when there is none.
    int GetDriveNumber() const noexcept;
    /// The root of a drive: "C:\" for 2; empty for a number that is not 0 to 25.
    static CVQPath BuildRoot(int nDrive);

    /// What the disk says about the path: the bits of FILE_GetFileAttributes(), 0xFFFFFFFF when it is missing.
    unsigned long GetAttributes() const;
    static unsigned long GetPathAttributes(const CVQString& oPath);

    /// Does nothing. Kept: it is part of the interface.
    void CompactPath(const CVQPath& oOther, unsigned int nLength);

    /// Tells whether two paths have the same components.
    ///
    /// @param oOther           the other path
    /// @param nUnused          not looked at
    /// @param bIgnoreLeading   false to tell a path with a leading separator from one without
    /// @param bIgnoreTrailing  false to tell a path with a trailing separator from one without
    bool IsSame(const CVQPath& oOther, int nUnused, bool bIgnoreLeading, bool bIgnoreTrailing) const;
    /// Tells whether the other path lies inside this one.
    bool IsBelow(const CVQPath& oOther) const;
    /// Tells whether this path lies inside the other one.
    bool IsAbove(const CVQPath& oOther) const;
    bool IsBelowOrSame(const CVQPath& oOther) const;
    /// True for any two paths. Kept: callers rely on it.
    bool IsAboveOrSame(const CVQPath& oOther) const;

private:
    std::string_view View() const noexcept;
    CVQString Part(std::string_view sPart) const;
    std::string_view ComponentView(int nStart, int nCount) const noexcept;
    void Cut(int nLength) noexcept;
    void AddTrailing(char cSeparator);
    void AddLeading(char cSeparator);
    void RemoveTrailing(char cSeparator) noexcept;
    bool SharesComponents(const CVQPath& oOther, int nCount) const;

    CVQString m_oText;
};

static_assert(sizeof(void*) != 4 || sizeof(CVQPath) == 28, "the layout that the 32-bit callers know");
