#include "screen_snapshot.h"

#include <mutex>

#include "never_destroyed.h"

namespace {

struct Kept {
    std::mutex lock;  // guards the screens
    QList<SysScreenInfo> screens;
};

}  // namespace

void ScreenSnapshot::set(const QList<SysScreenInfo>& screens) {
    Kept& kept = neverDestroyed<Kept>();
    const std::lock_guard<std::mutex> guard(kept.lock);
    kept.screens = screens;
}

QList<SysScreenInfo> ScreenSnapshot::screens() {
    Kept& kept = neverDestroyed<Kept>();
    const std::lock_guard<std::mutex> guard(kept.lock);
    return kept.screens;
}
