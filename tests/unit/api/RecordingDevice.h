// A device family whose devices do nothing but note what they are asked.
#pragma once

#include "main_utility/device/classic/DVRNetDevice_V3.h"
#include "support/Test.h"

/// Notes each operation as "Name argument argument", in order, for all devices of the process.
class CRecordingDevice : public CDVRNetDevice_V3 {
public:
    static bool Make(const PRE_SEND_DATA&, NET_DEVICE_RES& res) {
        res.pNetDevice = std::make_unique<CRecordingDevice>();
        res.eDVRVer = DVR_VER_V3;
        return true;
    }

    /// What was noted since the last call, one operation a line.
    static std::string TakeNotes() {
        std::lock_guard guard(s_lock);
        return std::exchange(s_notes, {});
    }

    BOOL Login(char*, char*, LPHLX_DEVICEINFO) override { return m_bConnected = true; }
    BOOL Logout() override { return Note("Logout"), m_bConnected = false, true; }
    BOOL OnReceiveData(const char* pBuf, int) override { return m_bConnected = m_bConnected && pBuf; }
    int GetDeviceStatus() override { return m_bConnected ? NET_DEVICE_STATUS_CONNECTED : NET_DEVICE_STATUS_DISCONNECT; }

    BOOL StartLiveChannel(LONG a, BOOL b, unsigned int, unsigned int d) override { return Note("StartLive", a, b, d); }
    BOOL RequestKeyFrame(LONG a, BOOL b, unsigned int c) override { return Note("KeyFrame", a, b, c); }
    BOOL StopLiveChannel(LONG a, BOOL b, unsigned int c) override { return Note("StopLive", a, b, c); }

    BOOL SetVideoColor_Ex(LONG a, DWORD b, DWORD c, DWORD d, DWORD e) override {
        return Note("SetColor_Ex", a, b, c, d, e);
    }
    BOOL PTZControl(LONG a, DWORD b, DWORD c, DWORD d, BOOL e, BOOL) override { return Note("PTZ", a, b, c, d, e); }
    BOOL PTZSetCruise(LONG a, BYTE b, DD_CRUISE_POINT_INFO* c, WORD d, BOOL) override {
        return Note("SetCruise", a, int{b}, c[d - 1].dwPresetIdx, d);
    }

    /// Records that each search finds, numbered in their first byte; below 0: it fails with HLX_NETWORK_RECV_TIMEOUT.
    static inline int s_found = 0;
    BOOL SearchRecDate(std::list<DD_DATE>& list) override { return Find(list); }
    BOOL SearchRecTime(LONG, DWORD type, const DD_TIME&, const DD_TIME&, std::list<HLX_REC_TIME>& list) override {
        return type == DD_RECORD_TYPE_ALL && Find(list);
    }
    BOOL SearchRecFile(LONG, DWORD type, const DD_TIME&, const DD_TIME&, std::list<HLX_REC_FILE>& list) override {
        return type == DD_RECORD_TYPE_ALL && Find(list);
    }
    BOOL SearchRecEvent(LONG, DWORD, const DD_TIME&, const DD_TIME&, std::list<HLX_REC_EVENT>& list) override {
        return Find(list);
    }
    BOOL SearchDVRLog(DWORD, const DD_TIME&, const DD_TIME&, std::list<HLX_LOG>& list) override { return Find(list); }
    BOOL SearchDVREvent(DWORD, ULONGLONG, const DD_TIME&, const DD_TIME&, std::list<HLX_EVENT>& list) override {
        return Find(list);
    }

private:
    template <class Record>
    static bool Find(std::list<Record>& list) {
        if (s_found < 0) return Failure(HLX_NETWORK_RECV_TIMEOUT);
        for (char i = 0; i < s_found; ++i) std::memcpy(&list.emplace_back(), &i, 1);
        return true;
    }
    template <class... Args>
    static bool Note(const char* pName, const Args&... args) {
        std::ostringstream note;
        note << pName;
        (..., (note << ' ' << args));
        std::lock_guard guard(s_lock);
        s_notes += (s_notes.empty() ? "" : "\n") + note.str();
        return true;
    }
    static inline std::mutex s_lock;
    static inline std::string s_notes;
    std::atomic<bool> m_bConnected{false};
};
