#include "counted_deals.h"

#include <algorithm>
#include <utility>

namespace {

constexpr size_t kFewestPlaces = 64;

/// 0 marks an empty place.
quint64 stored(quint64 hash) {
    return hash != 0 ? hash : 1;
}

}  // namespace

/// The place of the hash, or the empty one where it belongs.
size_t HashSet64::placeOf(quint64 hash) const {
    const size_t mask = m_places.size() - 1;
    size_t place = hash & mask;
    while (m_places[place] != 0 && m_places[place] != hash) {
        place = (place + 1) & mask;
    }
    return place;
}

bool HashSet64::contains(quint64 hash) const {
    return !m_places.empty() && m_places[placeOf(stored(hash))] != 0;
}

bool HashSet64::insert(quint64 hash) {
    if ((m_size + 1) * 4 > m_places.size() * 3) {
        resize(m_places.empty() ? kFewestPlaces : m_places.size() * 2);
    }
    const size_t place = placeOf(stored(hash));
    if (m_places[place] != 0) {
        return false;
    }
    m_places[place] = stored(hash);
    ++m_size;
    return true;
}

void HashSet64::insertAll(const std::vector<quint64>& hashes) {
    size_t places = std::max(m_places.size(), kFewestPlaces);
    while ((m_size + hashes.size() + 1) * 4 > places * 3) {
        places *= 2;
    }
    if (places > m_places.size()) {
        resize(places);
    }
    // The places are all over the memory, so that each one is fetched some insertions ahead.
    constexpr size_t kAhead = 16;
    const size_t mask = m_places.size() - 1;
    for (size_t i = 0; i < hashes.size(); ++i) {
        if (i + kAhead < hashes.size()) {
            __builtin_prefetch(&m_places[stored(hashes[i + kAhead]) & mask], 1);
        }
        insert(hashes[i]);
    }
}

void HashSet64::resize(size_t places) {
    const std::vector<quint64> former = std::exchange(m_places, std::vector<quint64>(places));
    for (const quint64 hash : former) {
        if (hash != 0) {
            m_places[placeOf(hash)] = hash;
        }
    }
}

bool CountedDeals::addStreamed(quint64 id) {
    if (m_listed.contains(id) || m_older.contains(id) || !m_newer.insert(id)) {
        return false;
    }
    if (m_newer.size() >= m_latest) {
        m_older = std::exchange(m_newer, HashSet64());
    }
    return true;
}
