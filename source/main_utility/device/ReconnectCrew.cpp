#include "main_utility/device/ReconnectCrew.h"

#include <algorithm>
#include <new>
#include <utility>

CReconnectCrew::CReconnectCrew(Work work) : m_work(std::move(work)) { m_wait.CreateWaitEvent(); }

CReconnectCrew::~CReconnectCrew() { JoinAll(); }

bool CReconnectCrew::WorksOn(const NET_DEVICE_RES& session) const {
    return std::ranges::any_of(m_workers,
                               [&](const WORKER& worker) { return worker.attempt.session.get() == &session; });
}

bool CReconnectCrew::Start(RECONNECT_TRY attempt) try {
    WORKER& worker = m_workers.emplace_back();
    worker.pCrew = this;
    worker.attempt = std::move(attempt);
    worker.thread = PUB_CreateThread(WorkerThread, &worker, nullptr);
    if (worker.thread != 0) return true;
    m_workers.pop_back();
    return false;
} catch (const std::bad_alloc&) {
    return false;
}

/// The worker's record goes only once it was joined.
void* CReconnectCrew::WorkerThread(void* pParam) {
    auto& worker = *static_cast<WORKER*>(pParam);
    try {
        worker.pCrew->m_work(worker.attempt);
    } catch (const std::bad_alloc&) {  // the next walk tries again
    }
    worker.bDone = true;
    worker.pCrew->Wake();
    return nullptr;
}

bool CReconnectCrew::AnyDone() const {
    return std::ranges::any_of(m_workers, [](const WORKER& worker) { return worker.bDone.load(); });
}

bool CReconnectCrew::TakeDone(RECONNECT_TRY& attempt) {
    const auto worker = std::ranges::find_if(m_workers, [](const WORKER& each) { return each.bDone.load(); });
    if (worker == m_workers.end()) return false;
    PUB_ExitThread(&worker->thread, nullptr);
    attempt = std::move(worker->attempt);
    m_workers.erase(worker);
    return true;
}

void CReconnectCrew::JoinAll() {
    for (WORKER& worker : m_workers) PUB_ExitThread(&worker.thread, nullptr);
    m_workers.clear();
}
