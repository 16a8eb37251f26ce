#pragma once

/// The one object of its type, made at the first call and never destroyed: static objects of
/// plug-ins and threads that end late still use it while the process exits. Any thread.
template <class T>
T& neverDestroyed() {
    static auto* const object = new T;
    return *object;
}
