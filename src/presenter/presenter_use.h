#pragma once

#include <QtGlobal>

class VelmarBusinessDataManagerPresenterClass;

/// Keeps the current presenter alive during one call of the facade. The pointer is null before the
/// first presenter exists, after it was deleted, and while it is closing. The presenter's
/// destructor waits for this object, so its owner must return soon once the presenter is closing;
/// requests do. Any thread; never blocks.
class PresenterUse {
public:
    PresenterUse();
    ~PresenterUse();
    Q_DISABLE_COPY(PresenterUse)

    VelmarBusinessDataManagerPresenterClass* presenter() const { return m_presenter; }
    /// Whether presenter() is null because the presenter is closing or was deleted.
    bool hasEnded() const { return m_hasEnded; }

    /// Registers a presenter; the last step of its constructor.
    static void enter(const VelmarBusinessDataManagerPresenterClass* added);
    /// Removes it, after waiting until no call uses it; the first step of its destructor.
    static void leave(const VelmarBusinessDataManagerPresenterClass* removed);

private:
    VelmarBusinessDataManagerPresenterClass* m_presenter = nullptr;
    bool m_hasEnded = false;
};
