#pragma once

#include <Common/Export.h>
#include <Common/Profile/StlList.h>
#include <Common/Profile/VQProfileAnalysedSample.h>
#include <Common/Profile/VQProfileRawSample.h>
#include <Common/String/VQString.h>

#include <cstdint>
#include <span>
#include <string>

/// Finds out where the time of a frame goes: regions of code are bracketed, each call is measured, and a report shows
/// the regions by their share of the main loop.
///
/// The brackets cost an empty call each as long as no session runs, so that they can stay in a shipped build. While one
/// runs each costs little more than reading the processor's cycle counter, and that cost is measured and taken off.
///
///     CVQProfiler oProfiler;
///     g_bVQProfilerEnabled = true;
///     oProfiler.BeginSession("Level 3");
///     while (bRunning)
///     {
///         const CVQProfileSample oFrame("MainLoop");     // of which all percentages are
///         g_pFnBeginSample("World");                     // or by hand
///         UpdateWorld();
///         g_pFnEndSample();
///     }
///     oProfiler.EndSession(true, true);                  // writes VQProfiler.htm and opens it
///
/// Regions may be nested; each has its own total, in which those inside it are included. Names are kept by address
/// until the analysis: they must be constants. Names are compared with case; one of more than 255 bytes is cut there.
///
/// A game makes one profiler, and one thread uses it and the hooks. The records go into one buffer of 3,145,728, which
/// is taken with the first session and given back by the destructor. An end that finds it full ends the session with
/// its report, and then the program with status 0.
class COMMON_API CVQProfiler
{
public:
    /// A count of cycles.
    using qWord = unsigned long long;

    /// VQGetProfiler() returns this profiler from now on. No session runs.
    CVQProfiler();

    /// Copies all but the records, which there are only once.
    CVQProfiler(const CVQProfiler& oOther);

    /// Copies all but the records, which there are only once.
    CVQProfiler& operator=(const CVQProfiler& oOther);

    /// Gives the records back, and disables the hooks. VQGetProfiler() is null then, if it was this.
    virtual ~CVQProfiler();

    /// Begins a session: throws away the records and results of the one before, measures what a pair of hooks and a
    /// second cost (which takes 100 milliseconds), and lets the hooks record. Does nothing while g_bVQProfilerEnabled
    /// is false.
    ///
    /// @param pName  for the report; null counts as empty
    /// @throws std::bad_alloc  when there is no memory for the records; no session runs then
    void BeginSession(const char* pName);

    /// Ends the session. Does nothing when none runs, or while g_bVQProfilerEnabled is false.
    ///
    /// @param bAnalyse      also runs ProcessSampleData()
    /// @param bWriteReport  also writes the report "VQProfiler.htm" and opens it
    void EndSession(bool bAnalyse, bool bWriteReport);

    /// Runs a session over some frames and ends the program: to be called once a frame. Calls are counted from 0 on, as
    /// long as g_bVQProfilerEnabled is true.
    ///
    /// @param nStartFrame  the call that beeps and begins the session
    /// @param nEndFrame    the call that ends the session, with its report, and the program with status 0
    /// @param pName        name of the session
    void SessionByCount(int nStartFrame, int nEndFrame, const char* pName);

    /// Adds the records up by name, and sorts what came out by percentage, rising; equal percentages keep the order in
    /// which their regions first ended.
    ///
    /// When the records hold a whole call of the region "MainLoop", those before its first begin do not count.
    void ProcessSampleData();

    /// Number of regions that the analysis found.
    int GetSampleCount() const;

    /// What it found about one. The index is not checked.
    const sVQProfileAnalysedSample& GetSample(int nIndex) const;

    /// Finds a region by its name, with case; -1 when it is not there.
    int GetSampleIndexByName(CVQString oName) const;

    /// Writes the report, a page in HTML, and opens it for the user through HOOK_OpenDocument().
    ///
    /// The text of names is written as it is, marks of HTML included. When the file cannot be written nothing is
    /// opened; no exception comes.
    ///
    /// @param pFileName  its name; one that is relative goes by the current directory
    void WriteProfileLog(const char* pFileName);

    /// Appends how long each call of a region took, in milliseconds and in the order in which they ended.
    ///
    /// All records count here, and the cost of the hooks is not taken off. Kept: callers rely on it.
    void GetSingleSampleTimes(CVQString oName, CSTLList<float>& oTimes);

    /// Draws how long the calls of a region took into the file "Graph.raw"; when there were none, no file is written.
    ///
    /// The file holds 200 rows, from the top, of 17,300 pixels of three bytes and nothing else. A call is a point of
    /// the bytes 0, 0, 255, the longer the higher: the longest is on the first row. The average is a line of the bytes
    /// 255, 0, 0. What would lie below the last row is left out. All is 0 when no call took any time.
    ///
    /// A failure is told in a message box.
    void CreateSampleGraph(CVQString oName);

    /// The records of the last session, until the next one begins.
    std::span<const sVQProfileRawSample> GetRawSamples() const;

protected:
    /// Takes and fills the buffer if there is none, and makes it empty; then calibrates. Sampling must be enabled.
    void Initialize();

    /// Lets the hooks record. Does nothing without a profiler.
    void EnableSampling();

    /// Lets the hooks do nothing.
    void DisableSampling();

    /// Measures what a pair of hooks costs. No records and no results are left.
    void CalibrateSampleOverhead();

    /// Measures the rate of the cycle counter in cycles per second, for 100 milliseconds.
    double GetCPUClockspeed();

    /// Turns cycles, as a signed number, into milliseconds.
    double CyclesToMs(qWord& nCycles);

    /// Whether a record is the begin of a region.
    bool IsStartSample(sVQProfileRawSample* pSample);

    /// Whether a record is an end.
    bool IsEndSample(sVQProfileRawSample* pSample);

    /// Whether a record is the begin of the region "MainLoop".
    bool IsMainLoopStartSample(sVQProfileRawSample* pSample);

    /// Pairs the records and adds the pairs up.
    ///
    /// @param bFromMainLoop  leaves out what is before the first "MainLoop", if one was closed
    void CollectSampleTimes(bool bFromMainLoop);

    /// Adds one call of a region.
    void AddRawSamplePair(sVQProfileRawSample& oStart, sVQProfileRawSample& oEnd);

    /// Whether the records hold a "MainLoop" that was closed.
    bool RawSampleDataHasMainloopSamples();

    /// Computes times and percentages from the cycles.
    void CalculateSampleDetails();

    CSTLList<sVQProfileAnalysedSample> m_oSamples; ///< what the analysis found
    CVQString m_oSessionName;                      ///< name of the session
    std::int32_t m_nFrame = 0;                     ///< calls of SessionByCount()
    std::int64_t m_nSessionStart = 0;              ///< performance counter at the session's begin, and after its end
    double m_dSessionDuration = 0.0;               ///< milliseconds
    double m_dClockSpeed = 0.0;                    ///< cycles per second
    std::int32_t m_nSampleOverhead = 0;            ///< cycles of a pair of hooks
    bool m_bSessionActive = false;                 ///< whether a session runs
    bool m_bCollecting = false;                    ///< whether the analysis has come to the records that count

private:
    std::string MakeReport() const;
};

/// The hook that begins a region.
using VQBeginSampleFn = void (*)(const char* pName);

/// The hook that ends the region that was begun last.
using VQEndSampleFn = void (*)();

extern "C"
{
    /// Whether sessions can begin and end; false at first.
    extern COMMON_API bool g_bVQProfilerEnabled;

    /// Begins a region of a name. To be called at any time, also without a profiler; it changes no register on x86.
    extern COMMON_API VQBeginSampleFn g_pFnBeginSample;

    /// Ends the region that was begun last. To be called at any time, also without a profiler; it changes no register
    /// on x86.
    extern COMMON_API VQEndSampleFn g_pFnEndSample;

    /// The profiler that was made last; null when it has ended.
    COMMON_API CVQProfiler* VQGetProfiler();
}
