#pragma once

#include <QtGlobal>
#include <vector>

/// A set of 64-bit hashes in one block of memory, 8 to 16 bytes for each. Not shared by threads.
class HashSet64 {
public:
    /// Returns false when the set contains the hash already.
    bool insert(quint64 hash);
    /// Adds many at once, which is several times as fast.
    void insertAll(const std::vector<quint64>& hashes);
    bool contains(quint64 hash) const;
    size_t size() const { return m_size; }

private:
    size_t placeOf(quint64 hash) const;
    void resize(size_t places);

    std::vector<quint64> m_places;  // a power of two of them; 0 is an empty one
    size_t m_size = 0;
};

/// Which deals a table of realized profit contains, as hashes of their ids. Not shared by threads.
///
/// The deals of the execution list are all kept. Of those that came later, between one and two
/// million are, the latest ones: a deal that is reported twice comes twice within a short time, and
/// the memory is bounded however long the day's stream gets.
class CountedDeals {
public:
    static constexpr size_t kLatest = 1000000;

    explicit CountedDeals(size_t latest = kLatest) : m_latest(latest) {}

    /// Adds the deals of the execution list.
    void addListed(const std::vector<quint64>& ids) { m_listed.insertAll(ids); }
    /// Adds a deal of the stream. Returns false when it is counted already.
    bool addStreamed(quint64 id);

private:
    size_t m_latest;
    HashSet64 m_listed;
    HashSet64 m_older;
    HashSet64 m_newer;
};
