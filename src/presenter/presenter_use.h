#pragma once

#include <QtGlobal>

class VelmarBusinessDataManagerPresenterClass;

/// The present presenter, for the length of one call of the facade: null when there is none, when
/// it has been disposed of, or when it is closing. While the object lives the presenter stays
/// alive, so whoever holds it must come back soon once the presenter is closing, as every request
/// does. Any thread; never blocks.
class PresenterUse {
public:
    PresenterUse();
    ~PresenterUse();
    Q_DISABLE_COPY(PresenterUse)

    VelmarBusinessDataManagerPresenterClass* presenter() const { return m_presenter; }

    /// A presenter's own word that it lives: the last act of its constructor.
    static void enter(const VelmarBusinessDataManagerPresenterClass* presenter);
    /// The first act of its destructor: waits until nobody uses it.
    static void leave(const VelmarBusinessDataManagerPresenterClass* presenter);

private:
    VelmarBusinessDataManagerPresenterClass* m_presenter = nullptr;
};
