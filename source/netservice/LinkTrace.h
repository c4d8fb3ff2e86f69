// The record of what went over the links, for a supporter: see protocol/TraceFile.h for the file.
#pragma once

#include <atomic>
#include <cstdio>
#include <map>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <vector>

#include "netservice/SWLSocket.h"

/// One for the process, fed by the SWL_ calls. Any thread; a call writes its lines before it returns, so a slow disk
/// slows the links. A record that cannot be written ends there.
class CLinkTrace {
public:
    static CLinkTrace& Instance();

    /// Costs one load while there is no record.
    static bool IsOn() { return s_bOn.load(std::memory_order_relaxed); }

    /// Begins a record in a new file, readable by its owner only; one under way is ended. Links that stand already are
    /// left out. False with errno when the file cannot be made.
    bool Start(const char* sFileName);
    /// Ends the record; without one it does nothing.
    void Stop();

    void Opened(SWL_socket_t sock, const std::string& sPeer);
    void Received(SWL_socket_t sock, const void* pBytes, int iLen);
    void Sent(SWL_socket_t sock, const void* pBytes, int iLen);
    void Closed(SWL_socket_t sock);

private:
    using Bytes = std::vector<unsigned char>;
    struct WAY {
        const char* sVerb;
        Bytes pending;    // of a message that is not whole yet
        size_t skip = 0;  // bytes to come of a message that is left out
    };
    struct LINK {
        unsigned number;
        WAY in;
        WAY out;
        bool bEnded = false;
    };
    struct CloseFile {
        void operator()(FILE* pFile) const { std::fclose(pFile); }
    };

    // m_lock held
    LINK* Find(SWL_socket_t sock);
    void Take(const LINK& link, WAY& way, std::span<const unsigned char> bytes);
    void WriteBytes(const LINK& link, const WAY& way, std::span<unsigned char> message);
    void WriteLine(const LINK& link, const std::string& sRest);

    static std::atomic<bool> s_bOn;
    std::mutex m_lock;                        // leaf; guards all below
    std::unique_ptr<FILE, CloseFile> m_file;  // null: no record
    std::map<SWL_socket_t, LINK> m_links;     // by socket
    unsigned m_lastNumber = 0;
    long long m_start = 0;  // microseconds of the clock
};
