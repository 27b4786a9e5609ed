#pragma once

#include <Common/Export.h>
#include <Common/String/VQString.h>

#include <cstdint>
#include <vector>

class CVQDebugStatisticsControl;
class IVQDebugStatisticsInterpreter;

/// What CVQDebugStatistics::ProcessInput() does on a key; the game maps its keyboard to these. A code of 32 and above
/// is a character that is typed, and any other means nothing.
enum eDebugStatisticsKey : std::int32_t
{
    dskPreviousPage = 1,    ///< the page before, before the first the last
    dskNextPage = 2,        ///< the next page, after the last the first
    dskPreviousControl = 3, ///< the control before on the current page
    dskNextControl = 4,     ///< the next control on the current page
    dskExecute = 5,         ///< executes the command line and empties it
    dskBackspace = 8        ///< removes the last byte of the command line
};

/// The debug console: pages of text with a command line, which a game draws over its picture and drives with keys.
///
/// The library keeps the pages, moves the focus and lays out the text. The game supplies the controls (see
/// CVQDebugStatisticsControl), the drawing and the keyboard:
///
///     CVQDebugStatisticsPage oPage("World");          // registers itself
///     ...
///     while (bRunning)
///     {
///         CVQDebugStatistics::ProcessInput(nKey);     // for each key
///
///         char aText[4096];
///         const int nCount = CVQDebugStatistics::Print(aText, sizeof aText);
///         DrawText(aText, nCount);
///     }
///     CVQDebugStatistics::RemoveControl(&oPage);
///
/// There is one console; all its state is static, and open to the game. It owns none of the controls. What it holds may
/// be null or out of range: nothing happens then. All of it belongs to one thread, the one that draws.
class COMMON_API CVQDebugStatistics
{
public:
    /// The pages, in their order; not owned.
    static std::vector<CVQDebugStatisticsControl*> m_oControls;
    /// Index of the current page, -1 for none, as at load.
    static std::int32_t m_lCurrentControl;
    /// The command line that is being typed.
    static CVQString m_oEntryBuffer;
    /// What executes commands first; null for nothing. Interpreters set it themselves.
    static IVQDebugStatisticsInterpreter* m_pInterpreter;
    /// Whether Print() prints; true at load.
    static bool m_bStatisticsVisible;
    /// For the game's own use; true at load. The library does not read it.
    static bool m_bStatisticsEditable;

    /// Empties the command line.
    static void Initialize();

    /// Appends a page, as the constructor of a page does. It becomes the current one when there is none.
    static void AddControl(CVQDebugStatisticsControl* pControl);

    /// Takes the first occurrence of a page out; nothing when it is not there. The current index moves only when it is
    /// the page's, and then down by one: see CVQDebugStatisticsControl::RemoveChild().
    static void RemoveControl(CVQDebugStatisticsControl* pControl);

    /// The first page with this label, in its exact case; null when there is none.
    ///
    /// @param pLabel  null counts as ""
    static CVQDebugStatisticsControl* FindControl(const char* pLabel);

    /// The current page; null when the index is out of range.
    static CVQDebugStatisticsControl* GetCurrentControl();

    /// Whether Print() prints.
    static bool IsVisible();

    /// Writes the command line, "> text_" and an empty line, and below it the current page.
    ///
    /// @param pBuffer  room for the text, which gets no terminator and is cut when it finds no room
    /// @param nSize    bytes of that room
    /// @return         bytes written; 0 while the console is not visible
    static int Print(char* pBuffer, int nSize);

    /// Takes a key: one of eDebugStatisticsKey, or a character, one byte, which is appended to the command line as long
    /// as that holds fewer than 64 bytes.
    ///
    /// With dskExecute the interpreter gets the command line, an empty one too; when there is none, or it does not know
    /// the command, the current page does. The command line is emptied afterwards, and stays when one of them throws.
    static void ProcessInput(int nKey);

private:
    friend class IVQDebugStatisticsInterpreter;

    static void Execute(const CVQString& oCommand);
    static void RegisterInterpreter(IVQDebugStatisticsInterpreter* pInterpreter);
    static void UnregisterInterpreter(const IVQDebugStatisticsInterpreter* pInterpreter);
};
