#pragma once

// Objects that are made at the first use and never destroyed: static objects of plug-ins and
// threads that end late still use them while the process exits. Any thread.

/// The one object of its type.
template <class T>
T& neverDestroyed() {
    static auto* const object = new T;
    return *object;
}

/// The one object that `make` creates. A class with a private constructor is made by a lambda in
/// one of its own functions:
///
///     return neverDestroyed([] { return new Registry; });
template <class Make>
auto& neverDestroyed(Make make) {
    static auto* const object = make();
    return *object;
}
