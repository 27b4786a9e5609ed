#pragma once

#include <Common/Export.h>
#include <Common/Loading/VQLoadGuardWatch.h>
#include <Common/String/VQString.h>

#include <cstdint>
#include <utility>
#include <vector>

/// Makes one progress from 0 to 1 out of nested steps of loading, and tells it to watches such as a loading screen.
///
/// Each component says only how large its share of the component around it is:
///
///     CVQLoadGuard* pGuard = CVQLoadGuard::Instance();
///     pGuard->RegisterWatch(&oScreen);
///     pGuard->BeginLoading();
///
///     pGuard->BeginLoadComponent(0.5f, "textures");             // 0 to 0.5 of the whole
///     for (int i = 0; i < 10; ++i)
///     {
///         LoadTexture(i);
///         pGuard->LoadComponentCompleted(0.1f, nullptr);        // another tenth of the component
///     }
///     pGuard->EndLoadComponent();                               // 0.5, whatever was reported
///
///     pGuard->BeginLoadComponent(0.5f, "level");                // 0.5 to 1
///     LoadLevel();                                              // may have components of its own within this one
///     pGuard->EndLoadComponent();
///
///     pGuard->EndLoading();
///     pGuard->UnregisterWatch(&oScreen);
///
/// Weights and fractions are the caller's to get right: they are not held to 0 to 1, so a negative one moves back. One
/// that is not a number counts as 0. A name is kept until there is another; a null name changes nothing. Where a name
/// is given by number, it is the localised text of that number.
///
/// The guard is a watch itself, so one guard can watch another; where guards watch each other in a circle, each passes
/// the news on once. It does not own its watches. A watch may register and unregister watches, itself too, while it is
/// told something: one that is taken out is not told any more, one that is new is told from the next time on.
///
/// There are no locks: a guard belongs to the thread that loads, and its watches are called there.
class COMMON_API CVQLoadGuard : public IVQLoadGuardWatch
{
public:
    /// A guard at progress 0, without watches. Most programs need none but Instance().
    CVQLoadGuard();

    /// Copies all, the watches and the open components too.
    CVQLoadGuard(const CVQLoadGuard&) = default;
    CVQLoadGuard& operator=(const CVQLoadGuard&) = default;

    /// The guard that the whole program shares; it lives as long as the library.
    static CVQLoadGuard* Instance();

    /// Tells every watch, in the order of registration.
    void OnBeginLoading() override;

    /// Tells every watch.
    ///
    /// @param fProgress  is passed on
    /// @param pName      is not: the watches get the name of the current component
    void OnLoadProgress(float fProgress, const char* pName) override;

    /// Tells every watch.
    void OnEndLoading() override;

    ~CVQLoadGuard() override;

    /// Appends a watch. One that is registered twice is told twice.
    ///
    /// @param pWatch  not owned; unregister it before it is destroyed. Null, and the guard itself, are not taken
    virtual void RegisterWatch(IVQLoadGuardWatch* pWatch);

    /// Takes the first occurrence of a watch out; nothing when it is not there.
    virtual void UnregisterWatch(IVQLoadGuardWatch* pWatch);

    /// Goes back to progress 0 and tells the watches. The name stays, and so do components that were never ended: see
    /// EndLoadComponent().
    virtual void BeginLoading();

    /// Begins a component: it reaches from the present progress as far as its weight says. The watches are not told.
    ///
    /// @param fWeight  its share of the component around it, 0 to 1
    /// @param nName    number of the localised text that is its name, of which the low 16 bits count; when there is no
    ///                 such text the name stays
    virtual void BeginLoadComponent(float fWeight, long nName);

    /// The same with the name itself.
    ///
    /// @param pName  null leaves the name as it is
    virtual void BeginLoadComponent(float fWeight, const char* pName);

    /// Moves the progress and tells the watches. It never passes the end of the component.
    ///
    /// @param fFraction  what was loaded since the last call, as a share of the component, 0 to 1
    /// @param nName      see BeginLoadComponent()
    virtual void LoadComponentCompleted(float fFraction, long nName);

    /// The same with the name itself.
    virtual void LoadComponentCompleted(float fFraction, const char* pName);

    /// Moves the progress to the end of the component, tells the watches, and goes back to the component around it.
    ///
    /// Every begin needs its end: one that is missing lets a later end go back to the wrong component, also when there
    /// was a BeginLoading() in between. An end without any component leaves the range as it is.
    virtual void EndLoadComponent();

    /// Tells the watches; nothing else.
    virtual void EndLoading();

    /// How far the loading is, 0 to 1.
    virtual float GetProgress() const;

    /// Whether there is a watch.
    virtual bool HasWatches() const;

private:
    using Range = std::pair<float, float>; // scale, end

    void Reset();
    void Push(float fScale, float fEnd);
    void Pop(float& fScale, float& fEnd);

    template <class TTell>
    void TellWatches(TTell Tell);

    static CVQLoadGuard s_oInstance;

    CVQString m_oName;
    float m_fProgress;
    float m_fScale; // the share of the whole that the current component spans
    float m_fEnd;   // the progress at which it is complete
    std::int32_t m_nDepth;
    std::vector<Range> m_oRanges;
    std::vector<IVQLoadGuardWatch*> m_oWatches;
};
