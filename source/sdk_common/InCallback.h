// Which threads are inside a callback of the application.
#pragma once

/// Marks its thread for as long as it lives. Each Owner has marks of its own; they do not nest.
template <class Owner>
class CInCallback {
public:
    CInCallback() { t_bInside = true; }
    ~CInCallback() { t_bInside = false; }
    CInCallback(const CInCallback&) = delete;
    CInCallback& operator=(const CInCallback&) = delete;

    static bool OnThisThread() { return t_bInside; }

private:
    static inline thread_local bool t_bInside = false;
};
