#include "neighbour_data.h"

#include <mutex>
#include <utility>

#include "never_destroyed.h"

namespace {

struct Slot {
    std::mutex lock;  // guards the pointer; held for one access
    std::shared_ptr<NeighbourData> provider;
};

Slot& slot() {
    return neverDestroyed<Slot>();
}

}  // namespace

std::shared_ptr<NeighbourData> NeighbourSlot::get() {
    const std::lock_guard<std::mutex> guard(slot().lock);
    return slot().provider;
}

void NeighbourSlot::set(std::shared_ptr<NeighbourData> provider) {
    {
        const std::lock_guard<std::mutex> guard(slot().lock);
        slot().provider.swap(provider);
    }
    // The former provider is released here, after the lock.
}
