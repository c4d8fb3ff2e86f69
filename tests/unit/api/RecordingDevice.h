// A device family whose devices do nothing but note what they are asked.
#pragma once

#include <atomic>
#include <mutex>
#include <sstream>
#include <string>
#include <vector>

#include "main_utility/device/classic/DVRNetDevice_V3.h"

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
        std::string all;
        for (const std::string& note : s_notes) all += (all.empty() ? "" : "\n") + note;
        s_notes.clear();
        return all;
    }

    BOOL Login(char*, char*, LPHLX_DEVICEINFO) override { return m_bConnected = true; }
    BOOL Logout() override { return Note("Logout"), m_bConnected = false, true; }
    int GetDeviceStatus() override { return m_bConnected ? NET_DEVICE_STATUS_CONNECTED : NET_DEVICE_STATUS_DISCONNECT; }

    BOOL StartLiveChannel(LONG a, BOOL b, unsigned int, unsigned int d) override { return Note("StartLive", a, b, d); }
    BOOL StopLiveChannel(LONG a, BOOL b, unsigned int c) override { return Note("StopLive", a, b, c); }
    BOOL StopLiveHandle(LONG a, BOOL b, unsigned int) override { return Note("StopLiveHandle", a, b); }
    BOOL RequestKeyFrame(LONG a, BOOL b, unsigned int c) override { return Note("KeyFrame", a, b, c); }
    BOOL GetDvrCurrentTime(const char* a, DD_TIME* b) override { return b->year = 124, Note("Time", a); }
    unsigned int SupportStreamNum(LONG a) override { return Note("SupportStreamNum", a), 3; }

    BOOL CapturePicture(LONG a, LONG b, char* c, DWORD d, LPDWORD e) override {
        return Note("CapturePicture", a, b, d), Picture(c, e);
    }
    BOOL CaptureJPEGData_V2(const char* a, WORD, LONG c, char* d, DWORD e, LPDWORD f) override {
        return Note("CaptureJPEGData_V2", a, c, e), Picture(d, f);
    }
    BOOL SearchPictures(HLX_IMAGE_SREACH a, LONG b, HLX_IMAGE*, LONG*) override {
        return Note("SearchPictures", a.dwChannel, b);
    }
    BOOL RemoteSnap(int a) override { return Note("RemoteSnap", a); }
    BOOL ViewPicture(const char* a, HLX_IMAGE b, HLX_IMAGE_INFO*, char*, unsigned int e) override {
        return Note("ViewPicture", a, b.dwChannel, e);
    }

    BOOL SaveFileToUsbByTime(HLX_REC_FILE* a, USB_BACKUP_FORMAT b) override {
        return Note("SaveFileToUsb", a->dwFileIndex, int{b});
    }
    BOOL GetSaveFileToUsbProcess(HLX_USB_BACKUP_PROCESS_EX*, unsigned int b, unsigned int*) override {
        return Note("UsbProcess", b);
    }
    BOOL StartDVRRecord(LONG a, LONG b) override { return Note("StartRecord", a, b); }
    BOOL StopDVRRecord(LONG a) override { return Note("StopRecord", a); }
    BOOL RebootDVR() override { return Note("Reboot"); }
    BOOL ChangTime(unsigned int a) override { return Note("ChangTime", a); }
    BOOL SetDeviceAlarm(LONG* a, LONG* b, LONG* c, BOOL d) override { return Note("Alarm", *a, *b, *c, d); }

    BOOL SetVideoColor(LONG a, DWORD b, DWORD c, DWORD d, DWORD e) override { return Note("SetColor", a, b, c, d, e); }
    BOOL SetVideoColor_Ex(LONG a, DWORD b, DWORD c, DWORD d, DWORD e) override {
        return Note("SetColor_Ex", a, b, c, d, e);
    }
    BOOL SaveVideoColor(LONG a, DWORD b, DWORD c, DWORD d, DWORD e) override {
        return Note("SaveColor", a, b, c, d, e);
    }
    BOOL GetVideoColor(LONG a, DWORD* b, DWORD* c, DWORD* d, DWORD* e) override {
        return Colors(b, c, d, e), Note("GetColor", a);
    }
    BOOL GetDefaultVideoColor(DWORD* a, DWORD* b, DWORD* c, DWORD* d) override {
        return Colors(a, b, c, d), Note("GetDefaultColor");
    }
    BOOL GetVideoColor_Ex(LONG a, HLX_IMAGE_EFFECT_T* b, HLX_IMAGE_EFFECT_T* c, HLX_IMAGE_EFFECT_T* d,
                          HLX_IMAGE_EFFECT_T* e) override {
        return Colors(&b->curValue, &c->curValue, &d->curValue, &e->curValue), Note("GetColor_Ex", a);
    }

    BOOL PTZControl(LONG a, DWORD b, DWORD c, DWORD d, BOOL e, BOOL) override { return Note("PTZ", a, b, c, d, e); }
    BOOL PTZControl_3D(LONG a, PTZ_3D_POINT_INFO* b) override { return Note("3D", a, b->dx, b->dy, b->zoom); }
    BOOL PTZSetCruise(LONG a, BYTE b, DD_CRUISE_POINT_INFO* c, WORD d, BOOL) override {
        return Note("SetCruise", a, int{b}, c[d - 1].dwPresetIdx, d);
    }
    BOOL GetPTZConfig(LONG a, DWORD b, LPVOID, DWORD d, LPVOID, DWORD f, LPDWORD) override {
        return Note("GetPTZConfig", a, b, d, f);
    }
    BOOL GetPTZCameraType(HLX_CAMERA_TYPE* a) override { return *a = HLX_SUPPORT_PTZ, Note("CameraType"); }
    BOOL GetSupportPtzList(int a, HLX_CHANNEL_PTZ*, int*) override { return Note("PtzList", a); }

    LONG GetDeviceTypeName(char*, LONG b) override { return Note("TypeName", b), 7; }
    BOOL GetDeviceIPCInfo(HLX_IPC_DEVICE_INFO*, LONG b, LONG*) override { return Note("IPCInfo", b); }
    BOOL GetDeviceCHStatus(HLX_CH_DEVICE_STATUS*, LONG b, LONG*) override { return Note("CHStatus", b); }
    BOOL GetDeviceCHSupportFunction(HLX_CH_DEVICE_SUPPORT*, LONG b, LONG*) override { return Note("CHSupport", b); }
    BOOL GetDeviceSupportFunction(HLX_DEV_SUPPORT*) override { return Note("Support"); }
    BOOL GetVehicleConfig() override { return Note("Vehicle"); }
    int GetSha1Encrypt(const void*, int b, void*, int d, int*) override { return Note("Sha1", b, d), 20; }

    BOOL GetIVMRuleConfig(const char* a, DWORD b, LONG c, LPVOID, DWORD e, LPDWORD) override {
        return Note("GetIVM", a, b, c, e);
    }
    BOOL SetIVMRuleConfig(const char* a, DWORD b, LONG c, LPVOID, DWORD e) override {
        return Note("SetIVM", a, b, c, e);
    }
    BOOL SmartSubscrib(DWORD a, LONG b, NET_DVR_SUBSCRIBE_REPLY*) override { return Note("Subscrib", a, b); }
    BOOL UnSmartSubscrib(DWORD a, LONG b, char* c, int*) override { return Note("UnSubscrib", a, b, c); }
    BOOL FaceMatchOperate(DWORD a, LPVOID, DWORD c, LPVOID, DWORD e, LPDWORD) override { return Note("Face", a, c, e); }
    BOOL ApiInterface(char* a, char* b, LPVOID, DWORD d, LPDWORD) override { return Note("Api", a, b, d); }
    BOOL TransparentConfig(char* a, char* b, LPVOID, DWORD d, LPDWORD) override { return Note("Transparent", a, b, d); }

    /// What every picture of such a device is.
    static constexpr char PICTURE[] = "JPEG";

private:
    template <class... Args>
    static bool Note(const char* pName, const Args&... args) {
        std::ostringstream note;
        note << pName;
        (..., (note << ' ' << args));
        std::lock_guard guard(s_lock);
        s_notes.push_back(note.str());
        return true;
    }
    static bool Picture(char* pBuffer, LPDWORD pReturned) {
        *pReturned = 4;
        std::copy_n(PICTURE, *pReturned, pBuffer);
        return true;
    }
    static void Colors(DWORD* pBrightness, DWORD* pContrast, DWORD* pSaturation, DWORD* pHue) {
        *pBrightness = 1;
        *pContrast = 2;
        *pSaturation = 3;
        *pHue = 4;
    }

    static inline std::mutex s_lock;
    static inline std::vector<std::string> s_notes;
    std::atomic<bool> m_bConnected{false};
};
