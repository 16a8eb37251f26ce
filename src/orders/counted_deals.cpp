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

void HashSet64::reserve(size_t count) {
    size_t places = kFewestPlaces;
    while (places < count * 4 / 3 + 1) {
        places *= 2;
    }
    if (places > m_places.size()) {
        resize(places);
    }
}

void HashSet64::clear() {
    m_places = {};
    m_size = 0;
}

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

void HashSet64::prefetch(quint64 hash) const {
    if (!m_places.empty()) {
        __builtin_prefetch(&m_places[stored(hash) & (m_places.size() - 1)], 1);
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

void CountedDeals::addListed(const std::vector<quint64>& ids) {
    // Each place is somewhere else in megabytes of memory, so it is fetched some deals ahead.
    constexpr size_t kAhead = 16;
    m_listed.reserve(m_listed.size() + ids.size());
    for (size_t i = 0; i < ids.size(); ++i) {
        m_listed.prefetch(ids[std::min(i + kAhead, ids.size() - 1)]);
        m_listed.insert(ids[i]);
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
