#include "DownloadReceiver.h"

#include <cerrno>

#include "sdk_common/WireReader.h"

int CDownloadReceiver::Open(const std::string& strFile) {
    m_state.came = Clock::now();
    return m_writer.Open(strFile.c_str()) ? 0 : errno;
}

void CDownloadReceiver::OnData(POINTERHANDLE, UINT dataType, BYTE* pBuffer, UINT length, void* pUser) {
    if (dataType == NET_DVR_BACKUP_DATA_TYPE_DVR) static_cast<CDownloadReceiver*>(pUser)->Take(pBuffer, length);
}

void CDownloadReceiver::Take(const BYTE* pBuffer, size_t nLength) {
    CWireReader reader(pBuffer, nLength);
    const auto head = reader.Read<SDK_FRAME_INFO>();
    const auto data = reader.Bytes(head.nLength);
    if (!reader.Good()) return;
    std::lock_guard lock(m_lock);
    const bool bWritten = m_writer.Write(head, data.data());
    m_state.came = Clock::now();
    m_state.nBytes = m_writer.Bytes();
    ++m_state.nFrames;
    if (head.frameType == DD_FRAME_TYPE_VIDEO) {
        if (m_state.nFirst == 0) m_state.nFirst = head.nStamp;
        m_state.nLast = head.nStamp;
    }
    const bool bEnd = head.frameType == DD_FRAME_TYPE_END;
    const bool bFailed = !bWritten && m_state.nErrno == 0;
    m_state.bEnd = m_state.bEnd || bEnd;
    m_state.nErrno = m_writer.Error();
    if (bEnd || bFailed) m_interrupt.Wake();
}

CDownloadReceiver::SNAPSHOT CDownloadReceiver::TakeSnapshot() const {
    std::lock_guard lock(m_lock);
    return m_state;
}

void CDownloadReceiver::Flush() {
    std::lock_guard lock(m_lock);
    m_writer.Flush();
    m_state.nErrno = m_writer.Error();
}

int CDownloadReceiver::Close() {
    std::lock_guard lock(m_lock);
    m_writer.Close();
    return m_state.nErrno = m_writer.Error();
}
