// qmList<T>: the framework's doubly linked list, a thin wrapper over std::list that keeps
// insertion order (registration order everywhere unless something is sorted explicitly).
#pragma once
#include <algorithm>
#include <list>

template <class T>
class qmList {
public:
    using iterator = typename std::list<T>::iterator;
    using const_iterator = typename std::list<T>::const_iterator;

    qmList() = default;
    qmList(std::initializer_list<T> l) : m_l(l) {}

    iterator begin() { return m_l.begin(); }
    iterator end() { return m_l.end(); }
    const_iterator begin() const { return m_l.begin(); }
    const_iterator end() const { return m_l.end(); }

    int size() const { return static_cast<int>(m_l.size()); }
    bool empty() const { return m_l.empty(); }
    void clear() { m_l.clear(); }

    T& front() { return m_l.front(); }
    T& back() { return m_l.back(); }
    const T& front() const { return m_l.front(); }
    const T& back() const { return m_l.back(); }

    void append(const T& v) { m_l.push_back(v); }
    void prepend(const T& v) { m_l.push_front(v); }
    void pop_back() { m_l.pop_back(); }
    void pop_front() { m_l.pop_front(); }
    iterator insert(iterator pos, const T& v) { return m_l.insert(pos, v); }
    iterator erase(iterator pos) { return m_l.erase(pos); }
    iterator erase(iterator first, iterator last) { return m_l.erase(first, last); }

    iterator find(const T& v) { return std::find(m_l.begin(), m_l.end(), v); }
    const_iterator find(const T& v) const { return std::find(m_l.begin(), m_l.end(), v); }
    bool contains(const T& v) const { return find(v) != m_l.end(); }
    // Removes the first element equal to v; false when there is none.
    bool remove(const T& v) {
        auto it = find(v);
        if (it == m_l.end()) return false;
        m_l.erase(it);
        return true;
    }

    // Stable merge sort with the given "less".
    template <class Less>
    void sort(Less less) { m_l.sort(less); }

    std::list<T>& std() { return m_l; }
    const std::list<T>& std() const { return m_l; }

private:
    std::list<T> m_l;
};
