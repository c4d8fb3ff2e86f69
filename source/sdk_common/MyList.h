// A list whose values are reached by position.
#pragma once

#include <new>

/// Doubly linked list of values. It holds no lock: its owner's does. A position stays valid until its value is removed,
/// whatever is added or removed beside it, and a null position means none. Positions given to the list must be valid
/// ones of it.
template <class T>
class CMyList {
    struct NODE {
        T node;
        NODE* pNext;
        NODE* pPrev;
    };

public:
    /// Opaque to users.
    using POS = NODE*;

    CMyList() = default;
    virtual ~CMyList() { RemoveAll(); }
    CMyList(const CMyList&) = delete;
    CMyList& operator=(const CMyList&) = delete;

    /// Adding gives the new value's position, null when memory is short. A null `pos` stands for the end that the name
    /// points to: before all for InsertBefore, after all for InsertAfter.
    POS AddTail(const T& value) { return Link(m_pTail, nullptr, value); }
    POS AddHead(const T& value) { return Link(nullptr, m_pHead, value); }
    POS InsertBefore(POS pos, const T& value) { return pos ? Link(pos->pPrev, pos, value) : AddHead(value); }
    POS InsertAfter(POS pos, const T& value) { return pos ? Link(pos, pos->pNext, value) : AddTail(value); }

    /// Removes and gives the value. Not for an empty list.
    T RemoveHead() { return Take(m_pHead); }
    T RemoveTail() { return Take(m_pTail); }

    /// Nothing happens for a null position.
    void RemoveAt(POS pos) {
        if (!pos) return;
        (pos->pPrev ? pos->pPrev->pNext : m_pHead) = pos->pNext;
        (pos->pNext ? pos->pNext->pPrev : m_pTail) = pos->pPrev;
        if (m_lastInsertPos == pos) m_lastInsertPos = nullptr;
        if (m_lastReadPos == pos) m_lastReadPos = nullptr;
        --m_Count;
        delete pos;
    }
    void RemoveAll() {
        while (m_pHead) RemoveAt(m_pHead);
    }

    /// Not for an empty list.
    T& GetHead() { return GetAt(m_pHead); }
    T& GetTail() { return GetAt(m_pTail); }

    POS GetHeadPosition() const { return m_pHead; }
    POS GetTailPosition() const { return m_pTail; }

    /// The value at `pos`, which moves on to the next (previous) position, null behind the last.
    T& GetNext(POS& pos) {
        T& value = GetAt(pos);
        pos = pos->pNext;
        return value;
    }
    T& GetPrev(POS& pos) {
        T& value = GetAt(pos);
        pos = pos->pPrev;
        return value;
    }

    T& GetAt(POS pos) {
        m_lastReadPos = pos;
        return pos->node;
    }
    void SetAt(POS pos, const T& value) { pos->node = value; }

    /// The first position from `start` on (from the head when null) whose value equals `value`; null when there is
    /// none.
    POS Find(const T& value, POS start = nullptr) const {
        POS pos = start ? start : m_pHead;
        while (pos && !(pos->node == value)) pos = pos->pNext;
        return pos;
    }

    /// Where a value was last added, and read by one of the Get functions; null when that value is gone.
    POS GetLastInsertPosition() const { return m_lastInsertPos; }
    POS GetLastReadPosition() const { return m_lastReadPos; }

    /// The values there. Not for a null position.
    T& GetLastInsert() { return m_lastInsertPos->node; }
    T& GetLastRead() { return m_lastReadPos->node; }

    POS NextNode(POS pos) const { return pos->pNext; }
    POS prevNode(POS pos) const { return pos->pPrev; }

    int GetCount() const { return m_Count; }
    bool IsEmpty() const { return m_Count == 0; }

private:
    POS Link(POS pPrev, POS pNext, const T& value) {
        POS pos = new (std::nothrow) NODE{value, pNext, pPrev};
        if (!pos) return nullptr;
        (pPrev ? pPrev->pNext : m_pHead) = pos;
        (pNext ? pNext->pPrev : m_pTail) = pos;
        m_lastInsertPos = pos;
        ++m_Count;
        return pos;
    }

    T Take(POS pos) {
        T value = static_cast<T&&>(pos->node);
        RemoveAt(pos);
        return value;
    }

    POS m_pHead = nullptr;
    POS m_pTail = nullptr;
    int m_Count = 0;
    POS m_lastInsertPos = nullptr;
    POS m_lastReadPos = nullptr;
};
