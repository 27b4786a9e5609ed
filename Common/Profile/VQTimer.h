#pragma once

#include <Common/Export.h>
#include <Common/String/VQString.h>

#include <array>
#include <cstddef>
#include <cstdint>

/// The clock of a game: four channels, each a stopwatch with a name, a frame time and a frame rate.
///
/// A game makes one timer, gives each purpose a channel and takes the time of all of them once a frame. What runs
/// within the frame then sees one and the same time:
///
///     CVQTimer oTimer;                              // the game's only one: VQGetTimer() finds it from now on
///     oTimer.DefineChannel(0, "game");              // channel 0 is the one that CTimer reads
///     oTimer.EnableFrameTime(0);
///     oTimer.Start(0);
///
///     while (PlayFrame(oTimer.GetFrameTime(0)))     // seconds
///         oTimer.UpdateAll();
///
///     oTimer.Pause(0);                              // a menu opens: the channel stands still
///     ...
///     oTimer.Continue(0);                           // and goes on as if there had been no menu
///
/// Channels are numbered 0 to 3. DefineChannel() and UndefineChannel() check the number; all others do not, and the
/// caller must pass a valid one. All but GetChannelName() and the flags work on undefined channels as told there.
///
/// The time comes from the system's performance counter, or from its millisecond clock where there is no such counter.
///
/// A timer belongs to one thread. A copy has channels of its own that go on from where the other's are; it is not the
/// one that VQGetTimer() returns. But its end, like that of any timer, leaves VQGetTimer() null. Kept: callers rely on
/// it.
class COMMON_API CVQTimer
{
public:
    /// What a time event calls, on a thread of its own: with the identifier of the event, 0, the user value, 0, and 0.
    /// It must not throw, and must not touch a timer without a lock of the game's own.
    using TTimeEventFn = void (*)(unsigned int nEvent, unsigned int, unsigned long nUser, unsigned long, unsigned long);

    /// Kind of a time event: calls again and again. With every other value it calls once.
    static constexpr int TIME_EVENT_PERIODIC = 1;

    /// All channels are undefined; VQGetTimer() returns this timer from now on.
    CVQTimer();

    /// Copies the channels; VQGetTimer() stays as it is.
    CVQTimer(const CVQTimer& oOther);

    /// Copies the channels; VQGetTimer() stays as it is.
    CVQTimer& operator=(const CVQTimer& oOther);

    /// VQGetTimer() returns null from now on.
    virtual ~CVQTimer();

    /// Number of channels: 4.
    int GetNumChannels() const;

    /// Gives a channel a name. It is stopped, and all about it is as new; only the frame rate keeps its old value.
    ///
    /// @param pName  null counts as empty
    /// @return       false for a number outside 0 to 3 and for a channel that is defined
    bool DefineChannel(int nChannel, const char* pName);

    /// Takes a channel's name away. Its times and flags stay until it is defined again.
    ///
    /// @return false for a number outside 0 to 3
    bool UndefineChannel(int nChannel);

    /// Lets a channel run, always from 0 on. One that is paused stays so.
    void Start(int nChannel);

    /// Stops a channel: its time is 0 until the next Start().
    void Stop(int nChannel);

    /// Sets the time of a channel to 0.
    void Reset(int nChannel);

    /// Sets the time of a channel, and its frame time when that is enabled.
    ///
    /// A paused channel reads 0 instead, and goes on from 0; kept: callers rely on it.
    ///
    /// @param dSeconds  the new time
    void SetTime(int nChannel, double dSeconds);

    /// Lets the time of a channel stand still; nothing happens when it does.
    void Pause(int nChannel);

    /// Lets the time of a paused channel go on where it stood.
    void Continue(int nChannel);

    /// Time of a channel in seconds; 0 when it is undefined or stopped.
    double GetTime(int nChannel) const;

    /// Time of a channel in whole milliseconds. Where an unsigned long has 32 bits it begins at 0 again after 49.7
    /// days.
    unsigned long GetTimeInMs(int nChannel) const;

    /// Seconds of the clock behind the channels, counted from some point before the start of the program.
    double GetTimeDirect() const;

    /// The same in whole milliseconds; see GetTimeInMs().
    unsigned long GetTimeInMsDirect() const;

    /// Lets GetFrameTime() tell the time of the last Update(); until that comes, the time now.
    void EnableFrameTime(int nChannel);

    /// Lets GetFrameTime() tell the time of its call.
    void DisableFrameTime(int nChannel);

    /// Whether GetFrameTime() tells the time of the last Update().
    bool IsFrameTimeEnabled(int nChannel) const;

    /// Time of this frame in seconds, the same until the next Update(); 0 when the channel is undefined or stopped.
    double GetFrameTime(int nChannel) const;

    /// Frames per second: one over the length of the last frame, not smoothed. 0 when the last frame had no length.
    double GetFPS(int nChannel) const;

    /// Begins a frame of a channel: takes its time, and the frame rate from how long ago the last call was. Does
    /// nothing when the channel is undefined or stopped.
    void Update(int nChannel);

    /// Begins a frame of every channel.
    void UpdateAll();

    /// Whether a channel has been given a name.
    bool IsDefined(int nChannel) const;

    /// Whether a channel was started and not stopped since; also when it is paused.
    bool IsRunning(int nChannel) const;

    /// Whether a channel's time stands still.
    bool IsPaused(int nChannel) const;

    /// Whether a channel is both defined and running.
    bool IsDefinedAndRunning(int nChannel) const;

    /// The name of a channel; null or empty when it has none.
    const char* GetChannelName(int nChannel) const;

    /// Finds a defined channel by its name, without regard to case.
    ///
    /// @return the lowest number of those that have it, -1 when none has
    int GetChannelByName(const char* pName) const;

    /// Calls a function after a delay, once or again and again, on a thread that all time events share.
    ///
    /// Calls come at multiples of the delay and do not drift. One whose time is over when its turn comes is left out.
    ///
    /// @param nDelay       milliseconds
    /// @param nResolution  how many milliseconds a call may be late; 0 asks for the best
    /// @param nUser        for the function; where an unsigned long has 64 bits it may carry an address
    /// @param nKind        TIME_EVENT_PERIODIC, or any other value for a single call
    /// @return             the identifier for UninstallTimeEvent(); -1 when the system cannot give the delay; 0 when
    ///                     there is no function or there are too many events, and UninstallTimeEvent() must then be
    ///                     called all the same
    static int InstallTimeEvent(int nDelay, int nResolution, TTimeEventFn pCallback, unsigned long nUser, int nKind);

    /// Removes a time event; also from its own call. No call comes after that.
    ///
    /// @param nEvent  what InstallTimeEvent() returned
    /// @param nDelay  what InstallTimeEvent() was given
    static void UninstallTimeEvent(int nEvent, int nDelay);

private:
    // Hardware time is a count of the performance counter, or of milliseconds.
    struct sChannel
    {
        bool m_bDefined = false;
        CVQString m_oName;
        bool m_bRunning = false;
        bool m_bPaused = false;
        std::int64_t m_nPauseTime = 0; // hardware time
        bool m_bFrameTimeEnabled = false;
        double m_dFrameTime = 0.0;
        double m_dLastUpdateTime = 0.0;
        double m_dFramesPerSecond = 0.0;
        std::int64_t m_nOrigin = 0; // hardware time of the channel's time 0
    };

    static constexpr int CHANNEL_COUNT = 4;

    bool IsHighResolutionTimerAvailable() const;
    void UseHighResolutionTimer(bool bUse);
    bool IsHighResolutionTimerActive() const;
    long long GetHardwareTime() const;
    long long GetHardwareTimerFrequency() const;
    double ReadTime(const sChannel& oChannel) const;
    double ToSeconds(std::int64_t nHardwareTime) const;

    sChannel& At(int nChannel) { return m_aChannels[static_cast<std::size_t>(nChannel)]; }

    const sChannel& At(int nChannel) const { return m_aChannels[static_cast<std::size_t>(nChannel)]; }

    bool m_bHighResolution;
    std::array<sChannel, CHANNEL_COUNT> m_aChannels;
};

extern "C"
{
    /// The timer that was made last; null when there is none, or one has ended since.
    COMMON_API CVQTimer* VQGetTimer();
}
