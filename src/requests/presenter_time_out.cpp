#include "presenter_time_out.h"

#include <QHash>
#include <QMutex>

#include "guarded.h"
#include "never_destroyed.h"
#include "znwidget/zn_presenter_class.h"

namespace {

struct Use {
    int count = 0;
    int standing = 0;
};

struct Tables {
    QHash<ZnPresenterClass*, Use> uses;
};

class Uses {
public:
    Guarded<Tables, QMutex> m_usesLock{"m_usesLock", LockRank::Leaf};
};

Guarded<Tables, QMutex>& usesLock() {
    return neverDestroyed<Uses>().m_usesLock;
}

}  // namespace

PresenterTimeOut::PresenterTimeOut(ZnPresenterClass& presenter, int seconds)
    : m_presenter(seconds > 0 ? &presenter : nullptr) {
    if (!m_presenter) {
        return;
    }
    const auto tables = usesLock().lock();
    Use& use = tables->uses[m_presenter];
    if (use.count++ == 0) {
        use.standing = presenter.getRequestTimeOut();
    }
    presenter.setRequestTimeOut(seconds);
}

PresenterTimeOut::~PresenterTimeOut() {
    if (!m_presenter) {
        return;
    }
    const auto tables = usesLock().lock();
    Use& use = tables->uses[m_presenter];
    if (--use.count == 0) {
        m_presenter->setRequestTimeOut(use.standing);
        tables->uses.remove(m_presenter);
    }
}
