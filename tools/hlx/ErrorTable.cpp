#include "ErrorTable.h"

#include "HLX.h"

namespace {

// Keeps name and number of a row together.
#define HLX_ROW(name) static_cast<uint32_t>(name), #name

constexpr ERROR_ROW ERRORS[] = {
    {HLX_ROW(HLX_SUCCESS), "no error is known", EXIT_FAILED},
    {HLX_ROW(HLX_PASSWORD_ERROR), "the user name or password is wrong", EXIT_REFUSED},
    {HLX_ROW(HLX_NOENOUGH_AUTH), "this user lacks the right to do that", EXIT_REFUSED},
    {HLX_ROW(HLX_NOINIT), "the library is not initialised", EXIT_FAILED},
    {HLX_ROW(HLX_CHANNEL_ERROR), "the device has no such channel", EXIT_FAILED},
    {HLX_ROW(HLX_OVER_MAXLINK), "the device has no room for a further connection", EXIT_REFUSED},
    {HLX_ROW(HLX_LOGIN_REFUSED), "the device refused the login", EXIT_REFUSED},
    {HLX_ROW(HLX_VERSION_NOMATCH), "the device's family or version is not supported", EXIT_FAILED},
    {HLX_ROW(HLX_NETWORK_FAIL_CONNECT), "no connection could be made", EXIT_UNREACHABLE},
    {HLX_ROW(HLX_NETWORK_NOT_CONNECT), "the connection to the device is gone", EXIT_UNREACHABLE},
    {HLX_ROW(HLX_NETWORK_SEND_ERROR), "sending to the device failed", EXIT_UNREACHABLE},
    {HLX_ROW(HLX_NETWORK_RECV_ERROR), "receiving from the device failed", EXIT_UNREACHABLE},
    {HLX_ROW(HLX_NETWORK_RECV_TIMEOUT), "the device did not answer in time", EXIT_TIMED_OUT},
    {HLX_ROW(HLX_NETWORK_ERRORDATA), "the device sent something that cannot be read", EXIT_FAILED},
    {HLX_ROW(HLX_ORDER_ERROR), "the calls were made in a wrong order", EXIT_FAILED},
    {HLX_ROW(HLX_OPER_BY_OTHER), "another user is doing that now", EXIT_FAILED},
    {HLX_ROW(HLX_OPER_NOPERMIT), "that is not permitted here", EXIT_REFUSED},
    {HLX_ROW(HLX_COMMAND_TIMEOUT), "the device did not carry out the command in time", EXIT_TIMED_OUT},
    {HLX_ROW(HLX_ERROR_SERIALPORT), "the device or the camera at its serial port did not take the command",
     EXIT_FAILED},
    {HLX_ROW(HLX_ERROR_ALARMPORT), "the device has no such alarm port", EXIT_FAILED},
    {HLX_ROW(HLX_PARAMETER_ERROR), "an argument is wrong", EXIT_FAILED},
    {HLX_ROW(HLX_CHAN_EXCEPTION), "the channel is in a faulty state", EXIT_FAILED},
    {HLX_ROW(HLX_NODISK), "the device has no disk", EXIT_FAILED},
    {HLX_ROW(HLX_ERROR_DISKNUM), "the device has no disk of that number", EXIT_FAILED},
    {HLX_ROW(HLX_DISK_FULL), "the disk is full", EXIT_FAILED},
    {HLX_ROW(HLX_DISK_ERROR), "the disk failed", EXIT_FAILED},
    {HLX_ROW(HLX_NOSUPPORT), "this is not supported", EXIT_FAILED},
    {HLX_ROW(HLX_BUSY), "the device is busy", EXIT_FAILED},
    {HLX_ROW(HLX_MODIFY_FAIL), "the change could not be made", EXIT_FAILED},
    {HLX_ROW(HLX_PASSWORD_FORMAT_ERROR), "the password has a form that is not allowed", EXIT_REFUSED},
    {HLX_ROW(HLX_DISK_FORMATING), "the disk is being formatted", EXIT_FAILED},
    {HLX_ROW(HLX_DVR_NORESOURCE), "the device has no resources left", EXIT_FAILED},
    {HLX_ROW(HLX_DVR_OPRATE_FAILED), "the device failed to do it", EXIT_FAILED},
    {HLX_ROW(HLX_OPEN_HOSTSOUND_FAIL), "the sound device of this machine could not be opened", EXIT_FAILED},
    {HLX_ROW(HLX_DVR_VOICEOPENED), "talk with the device is open already", EXIT_FAILED},
    {HLX_ROW(HLX_TIME_INPUTERROR), "a time is wrong", EXIT_FAILED},
    {HLX_ROW(HLX_NOSPECFILE), "the device has no such file", EXIT_FAILED},
    {HLX_ROW(HLX_CREATEFILE_ERROR), "a file could not be created", EXIT_FAILED},
    {HLX_ROW(HLX_FILEOPENFAIL), "a file could not be opened", EXIT_FAILED},
    {HLX_ROW(HLX_OPERNOTFINISH), "an earlier operation has not finished", EXIT_FAILED},
    {HLX_ROW(HLX_GETPLAYTIMEFAIL), "the time of playback could not be read", EXIT_FAILED},
    {HLX_ROW(HLX_PLAYFAIL), "playing failed", EXIT_FAILED},
    {HLX_ROW(HLX_FILEFORMAT_ERROR), "the file's format is wrong", EXIT_FAILED},
    {HLX_ROW(HLX_DIR_ERROR), "the folder is wrong", EXIT_FAILED},
    {HLX_ROW(HLX_ALLOC_RESOURCE_ERROR), "resources could not be allocated", EXIT_FAILED},
    {HLX_ROW(HLX_AUDIO_MODE_ERROR), "the sound mode is wrong", EXIT_FAILED},
    {HLX_ROW(HLX_NOENOUGH_BUF), "the buffer is too small", EXIT_FAILED},
    {HLX_ROW(HLX_CREATESOCKET_ERROR), "a socket could not be created", EXIT_FAILED},
    {HLX_ROW(HLX_SETSOCKET_ERROR), "a socket could not be set up", EXIT_FAILED},
    {HLX_ROW(HLX_MAX_NUM), "the largest number is reached", EXIT_FAILED},
    {HLX_ROW(HLX_USERNOTEXIST), "the user does not exist", EXIT_REFUSED},
    {HLX_ROW(HLX_WRITEFLASHERROR), "the device could not write its flash memory", EXIT_FAILED},
    {HLX_ROW(HLX_UPGRADEFAIL), "the upgrade failed", EXIT_FAILED},
    {HLX_ROW(HLX_CARDHAVEINIT), "the card is initialised already", EXIT_FAILED},
    {HLX_ROW(HLX_PLAYERFAILED), "the player failed", EXIT_FAILED},
    {HLX_ROW(HLX_MAX_USERNUM), "the device has its largest number of users", EXIT_REFUSED},
    {HLX_ROW(HLX_GETLOCALIPANDMACFAIL), "the addresses of this machine could not be read", EXIT_FAILED},
    {HLX_ROW(HLX_NOENCODEING), "the channel is not being encoded", EXIT_FAILED},
    {HLX_ROW(HLX_IPMISMATCH), "the device does not admit this IP address", EXIT_REFUSED},
    {HLX_ROW(HLX_MACMISMATCH), "the device does not admit this MAC address", EXIT_REFUSED},
    {HLX_ROW(HLX_UPGRADELANGMISMATCH), "the language of the upgrade file does not match", EXIT_FAILED},
    {HLX_ROW(HLX_MAX_PLAYERPORT), "the channel has no room for a further stream", EXIT_FAILED},
    {HLX_ROW(HLX_NOSPACEBACKUP), "there is no space left for the backup", EXIT_FAILED},
    {HLX_ROW(HLX_NODEVICEBACKUP), "there is no device for the backup", EXIT_FAILED},
    {HLX_ROW(HLX_PICTURE_BITS_ERROR), "the picture's colour depth is wrong", EXIT_FAILED},
    {HLX_ROW(HLX_PICTURE_DIMENSION_ERROR), "the picture's width or height is wrong", EXIT_FAILED},
    {HLX_ROW(HLX_PICTURE_SIZ_ERROR), "the picture is too large", EXIT_FAILED},
    {HLX_ROW(HLX_LOADPLAYERSDKFAILED), "the player library could not be loaded", EXIT_FAILED},
    {HLX_ROW(HLX_LOADPLAYERSDKPROC_ERROR), "the player library lacks a function", EXIT_FAILED},
    {HLX_ROW(HLX_LOADDSSDKFAILED), "the display library could not be loaded", EXIT_FAILED},
    {HLX_ROW(HLX_LOADDSSDKPROC_ERROR), "the display library lacks a function", EXIT_FAILED},
    {HLX_ROW(HLX_DSSDK_ERROR), "the display library failed", EXIT_FAILED},
    {HLX_ROW(HLX_VOICEMONOPOLIZE), "another program holds the sound device", EXIT_FAILED},
    {HLX_ROW(HLX_JOINMULTICASTFAILED), "the multicast group could not be joined", EXIT_FAILED},
    {HLX_ROW(HLX_CREATEDIR_ERROR), "a folder could not be created", EXIT_FAILED},
    {HLX_ROW(HLX_BINDSOCKET_ERROR), "a socket could not be bound", EXIT_FAILED},
    {HLX_ROW(HLX_SOCKETCLOSE_ERROR), "the socket was closed", EXIT_UNREACHABLE},
    {HLX_ROW(HLX_USERID_ISUSING), "the user id is in use", EXIT_FAILED},
    {HLX_ROW(HLX_PROGRAM_EXCEPTION), "an internal step failed", EXIT_FAILED},
    {HLX_ROW(HLX_WRITEFILE_FAILED), "writing the file failed", EXIT_FAILED},
    {HLX_ROW(HLX_FORMAT_READONLY), "a read-only disk cannot be formatted", EXIT_FAILED},
    {HLX_ROW(HLX_WITHSAMEUSERNAME), "a user of that name exists already", EXIT_FAILED},
    {HLX_ROW(HLX_DEVICETYPE_ERROR), "the device type is wrong", EXIT_FAILED},
    {HLX_ROW(HLX_LANGUAGE_ERROR), "the language is wrong", EXIT_FAILED},
    {HLX_ROW(HLX_PARAVERSION_ERROR), "the version of the parameters is wrong", EXIT_FAILED},
    {HLX_ROW(HLX_FILE_SUCCESS), "the file was found", EXIT_FAILED},
    {HLX_ROW(HLX_FILE_NOFIND), "no file was found", EXIT_FAILED},
    {HLX_ROW(HLX_NOMOREFILE), "there are no more files", EXIT_FAILED},
    {HLX_ROW(HLX_FILE_EXCEPTION), "searching files failed", EXIT_FAILED},
    {HLX_ROW(HLX_TRY_LATER), "the device asks to try again later", EXIT_FAILED},
    {HLX_ROW(HLX_DEVICE_OFFLINE), "the device is offline", EXIT_UNREACHABLE},
    {HLX_ROW(HLX_CREATEJPEGSTREAM_FAIL), "the picture stream could not be opened", EXIT_FAILED},
    {HLX_ROW(HLX_USER_ERROR_NO_USER), "the device does not know this user", EXIT_REFUSED},
    {HLX_ROW(HLX_USER_ERROR_USER_OR_PASSWORD_IS_NULL), "the user name or password is empty", EXIT_REFUSED},
    {HLX_ROW(HLX_USER_ERROR_ALREDAY_LOGIN), "this user is logged in already", EXIT_REFUSED},
    {HLX_ROW(HLX_USER_ERROR_SYSTEM_BUSY), "the device is too busy for a login", EXIT_REFUSED},
    {HLX_ROW(HLX_DEVICE_NOT_SUPPROT), "the device does not support this", EXIT_FAILED},
    {HLX_ROW(HLX_USER_ERROR_SYSTEM_NO_READY), "the device is not ready for a login yet", EXIT_REFUSED},
    {HLX_ROW(HLX_CHANNEL_OFFLINE), "the channel is offline", EXIT_FAILED},
    {HLX_ROW(HLX_GETREADYINFO_FAIL), "the device's state could not be read", EXIT_FAILED},
    {HLX_ROW(HLX_NORESOURCE), "this machine has no resources left", EXIT_FAILED},
    {HLX_ROW(HLX_DEVICE_QUERYSYSTEMCAPS_FAIL), "the device's abilities could not be read", EXIT_FAILED},
    {HLX_ROW(HLX_INBUFFER_TOSMALL), "the input buffer is too small", EXIT_FAILED},
};

#undef HLX_ROW

constexpr bool InOrder() {
    for (uint32_t i = 0; i < std::size(ERRORS); ++i) {
        if (ERRORS[i].dwNumber != i) return false;
    }
    return true;
}
static_assert(std::size(ERRORS) == 103 && InOrder());

constexpr ERROR_ROW UNKNOWN = {0xFFFFFFFF, "unknown", "the library gave a number without a name", EXIT_FAILED};

}  // namespace

std::span<const ERROR_ROW> ErrorTable() { return ERRORS; }

const ERROR_ROW& ErrorRow(uint32_t dwNumber) { return dwNumber < std::size(ERRORS) ? ERRORS[dwNumber] : UNKNOWN; }
