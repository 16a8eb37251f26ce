#include "fault_types.h"

#include "handler_families.h"

const QStringList& faultTypes() {
    // Never destroyed: static objects may read a fault at the very end.
    static const auto* const types = [] {
        auto* const all = new QStringList(standardHandlers().keys());
        all->sort();
        return all;
    }();
    return *types;
}
