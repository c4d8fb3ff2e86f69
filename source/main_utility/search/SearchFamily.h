// One family of find-first, find-next and close over a result that is held in memory.
#pragma once

#include <algorithm>
#include <list>
#include <mutex>
#include <new>

#include "HLX.h"
#include "sdk_common/PubLock.h"
#include "sdk_common/ThreadState.h"

/// One open search and its whole result, in the order in which the device gave it.
template <class Record>
struct SEARCH_INFO {
    POINTERHANDLE lHandle = 0;  // this record's own address
    LONG deviceID = 0;          // the user id that the search ran on
    std::list<Record> listResult;
    typename std::list<Record>::iterator curIt = listResult.begin();  // next record to hand out
};

/// What tells one family from another.
template <class Result>
struct SEARCH_TRAITS {
    using Record = Result;
    static constexpr bool OPEN_SETS_NOFIND = false;   // each failed open has HLX_FILE_NOFIND for its number
    static constexpr bool EMPTY_MASKS_LATER = false;  // a search without a result hides those behind it until its close
    static constexpr bool NEXT_SETS_ERROR = false;    // the code of find-next is the last error, too
    static constexpr bool CLOSE_SETS_ERROR = false;   // so is HLX_PARAMETER_ERROR on closing an unknown handle
};

/// The open searches of one family. Any thread; the lock is held for the whole of a call, the device's query included,
/// so the calls of one family run one at a time and those of different families side by side.
template <class Traits>
class CSearchFamily {
public:
    using Record = typename Traits::Record;

    /// Runs `search(list)` and keeps what it found. The search's handle, or -1 with the number that `search` set.
    template <class Search>
    POINTERHANDLE Find(LONG lUserID, Search&& search) {
        std::lock_guard guard(m_lock);
        const POINTERHANDLE lHandle = Open(lUserID, search);
        if (lHandle == -1 && Traits::OPEN_SETS_NOFIND) Failure(HLX_FILE_NOFIND);
        return lHandle;
    }

    /// Copies the next record to `*pRecord`. HLX_FILE_SUCCESS, HLX_FILE_NOFIND for a search that found nothing,
    /// HLX_NOMOREFILE behind the last record, HLX_FILE_EXCEPTION for an unknown handle.
    LONG FindNext(POINTERHANDLE lHandle, Record* pRecord) {
        std::lock_guard guard(m_lock);
        const HLX_ERROR code = Next(lHandle, *pRecord);
        if (Traits::NEXT_SETS_ERROR) CThreadState::Instance()->SetLastError(code);
        return code;
    }

    BOOL Close(POINTERHANDLE lHandle) {
        std::lock_guard guard(m_lock);
        const auto isIt = [lHandle](const SEARCH_INFO<Record>& info) { return info.lHandle == lHandle; };
        if (m_listSearchInfo.remove_if(isIt) != 0) return true;
        return Traits::CLOSE_SETS_ERROR && Failure(HLX_PARAMETER_ERROR);
    }

private:
    template <class Search>
    POINTERHANDLE Open(LONG lUserID, Search& search) try {
        std::list<SEARCH_INFO<Record>> opened(1);
        SEARCH_INFO<Record>& info = opened.front();
        info.lHandle = reinterpret_cast<POINTERHANDLE>(&info);
        info.deviceID = lUserID;
        if (!search(info.listResult)) return -1;
        info.curIt = info.listResult.begin();
        m_listSearchInfo.splice(m_listSearchInfo.end(), opened);
        return info.lHandle;
    } catch (const std::bad_alloc&) {
        return Failure(HLX_ALLOC_RESOURCE_ERROR, POINTERHANDLE{-1});
    }

    HLX_ERROR Next(POINTERHANDLE lHandle, Record& record) {
        for (SEARCH_INFO<Record>& info : m_listSearchInfo) {
            const bool bIt = info.lHandle == lHandle;
            if ((bIt || Traits::EMPTY_MASKS_LATER) && info.listResult.empty()) return HLX_FILE_NOFIND;
            if (!bIt) continue;
            if (info.curIt == info.listResult.end()) return HLX_NOMOREFILE;
            record = *info.curIt++;
            return HLX_FILE_SUCCESS;
        }
        return HLX_FILE_EXCEPTION;
    }

    CPUB_Lock m_lock;
    std::list<SEARCH_INFO<Record>> m_listSearchInfo;  // guarded by m_lock, in order of their opening
};
