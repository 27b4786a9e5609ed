#pragma once

#include <Common/Export.h>

/// What a loading screen derives from, to be told how far the loading is: see CVQLoadGuard::RegisterWatch().
///
/// The calls come on the thread that loads, and it waits for them.
class COMMON_API IVQLoadGuardWatch
{
public:
    /// The loading begins.
    virtual void OnBeginLoading() = 0;

    /// The loading has come further.
    ///
    /// @param fProgress  0 to 1
    /// @param pName      name of the component that was loaded last, "" as long as none had one; never null, valid
    ///                   during the call, as long as that does not give the guard another name
    virtual void OnLoadProgress(float fProgress, const char* pName) = 0;

    /// The loading has ended.
    virtual void OnEndLoading() = 0;

    /// Does not take the watch out of a guard.
    virtual ~IVQLoadGuardWatch();
};
