// The forms of the exported functions. An exported function is one line: its form, its failure value, its operation.
#pragma once

#include <new>

#include "main_utility/api/SDKImpl.h"
#include "main_utility/media/AudioCodecMan.h"
#include "sdk_common/TimeCount.h"

/// Where an exported function stands, for its scope timer.
struct CALL_PLACE {
    CALL_PLACE(const char* pFunction, const char* pCallFile = __builtin_FILE(), int iCallLine = __builtin_LINE())
        : pName(pFunction), pFile(pCallFile), iLine(iCallLine) {}

    const char* pName;
    const char* pFile;
    int iLine;
};

/// Calls an operation of the session root or of a manager. No exception gets out to the application.
template <class Result, class Object, class... Params, class... Args>
Result CallOperation(Object& object, Result failure, Result (Object::*operation)(Params...), Args&... args) {
    try {
        return (object.*operation)(args...);
    } catch (const std::bad_alloc&) {
        return Failure(HLX_ALLOC_RESOURCE_ERROR, failure);
    } catch (...) {
        return Failure(HLX_PROGRAM_EXCEPTION, failure);
    }
}

/// Fails with HLX_NOINIT on a missing root; does not reset the last error.
template <class Result, class... Params, class... Args>
Result KeepErrorWrapper(CALL_PLACE place, Result failure, Result (CSDKImpl::*operation)(Params...), Args... args) {
    const CTimeCount timeCount(place.pName, place.pFile, place.iLine);
    if (!g_pSdkImpl) return Failure(HLX_NOINIT, failure);
    return CallOperation(*g_pSdkImpl, failure, operation, args...);
}

/// The usual form: resets the last error and fails with HLX_NOINIT on a missing root.
template <class Result, class... Params, class... Args>
Result FullWrapper(CALL_PLACE place, Result failure, Result (CSDKImpl::*operation)(Params...), Args... args) {
    CThreadState::Instance()->SetLastError(HLX_SUCCESS);
    return KeepErrorWrapper(place, failure, operation, args...);
}

/// As FullWrapper without the timer.
template <class Result, class... Params, class... Args>
Result UntimedWrapper(Result failure, Result (CSDKImpl::*operation)(Params...), Args... args) {
    CThreadState::Instance()->SetLastError(HLX_SUCCESS);
    if (!g_pSdkImpl) return Failure(HLX_NOINIT, failure);
    return CallOperation(*g_pSdkImpl, failure, operation, args...);
}

/// Leaves the last error alone, also on a missing root, where the result is the failure value.
template <class Result, class... Params, class... Args>
Result SilentWrapper(CALL_PLACE place, Result failure, Result (CSDKImpl::*operation)(Params...), Args... args) {
    const CTimeCount timeCount(place.pName, place.pFile, place.iLine);
    return g_pSdkImpl ? CallOperation(*g_pSdkImpl, failure, operation, args...) : failure;
}

/// Neither times nor resets. Such functions may be called after HLX_Init only; a missing root is survived all the same.
template <class Result, class... Params, class... Args>
Result DirectWrapper(Result failure, Result (CSDKImpl::*operation)(Params...), Args... args) {
    if (!g_pSdkImpl) return Failure(HLX_NOINIT, failure);
    return CallOperation(*g_pSdkImpl, failure, operation, args...);
}

/// Resets the last error and goes to the codecs, which need no root.
template <class Result, class... Params, class... Args>
Result CodecWrapper(Result failure, Result (CAudioCodecMan::*operation)(Params...), Args... args) {
    CThreadState::Instance()->SetLastError(HLX_SUCCESS);
    return CallOperation(*CAudioCodecMan::Instance(), failure, operation, args...);
}
