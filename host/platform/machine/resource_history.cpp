#include "resource_history.h"

#include <algorithm>
#include <iterator>

#include "never_destroyed.h"

ResourceHistory& ResourceHistory::instance() {
    return neverDestroyed<ResourceHistory>();
}

bool ResourceHistory::update(int slot, const QVariant& value) {
    if (slot < 0 || slot >= slotCount) {
        return false;
    }
    const std::lock_guard<std::mutex> guard(m_lock);
    m_slots.at(size_t(slot)).current = value;
    return true;
}

bool ResourceHistory::append(int slot, const Sample& sample) {
    if (slot < 0 || slot >= slotCount) {
        return false;
    }
    const std::lock_guard<std::mutex> guard(m_lock);
    auto& samples = m_slots.at(size_t(slot)).samples;
    samples.push_back(sample);
    if (samples.size() > mostSamples) {
        samples.pop_front();
    }
    return true;
}

QVariant ResourceHistory::current(int slot) const {
    const std::lock_guard<std::mutex> guard(m_lock);
    return slot < 0 || slot >= slotCount ? QVariant() : m_slots.at(size_t(slot)).current;
}

QVector<ResourceHistory::Sample> ResourceHistory::samples(int slot) const {
    const std::lock_guard<std::mutex> guard(m_lock);
    QVector<Sample> copied;
    if (slot >= 0 && slot < slotCount) {
        const auto& samples = m_slots.at(size_t(slot)).samples;
        copied.reserve(static_cast<int>(samples.size()));
        std::copy(samples.cbegin(), samples.cend(), std::back_inserter(copied));
    }
    return copied;
}

void ResourceHistory::clear() {
    const std::lock_guard<std::mutex> guard(m_lock);
    m_slots = {};
}
