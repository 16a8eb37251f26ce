#include "responsible_presenter.h"

#include <QList>
#include <algorithm>
#include <mutex>

#include "never_destroyed.h"
#include "znwidget/zn_presenter_class.h"

namespace {

struct Candidates {
    std::mutex lock;  // guards the list; held for one access
    QList<const ZnPresenterClass*> inOrder;

    const ZnPresenterClass* firstOpen() const {
        const auto open = std::find_if(inOrder.cbegin(), inOrder.cend(), [](const auto* candidate) {
            return !candidate->isClosing();
        });
        return open != inOrder.cend() ? *open : nullptr;
    }
};

// The platform may dispose of a presenter while static objects are being destroyed.
Candidates& candidates() {
    return neverDestroyed<Candidates>();
}

}  // namespace

void ResponsiblePresenter::add(const ZnPresenterClass* connected) {
    Candidates& present = candidates();
    const std::lock_guard<std::mutex> guard(present.lock);
    if (!present.inOrder.contains(connected)) {
        present.inOrder.append(connected);
    }
}

void ResponsiblePresenter::remove(const ZnPresenterClass* removed) {
    Candidates& present = candidates();
    const std::lock_guard<std::mutex> guard(present.lock);
    present.inOrder.removeOne(removed);
}

bool ResponsiblePresenter::is(const ZnPresenterClass* presenter) {
    Candidates& present = candidates();
    const std::lock_guard<std::mutex> guard(present.lock);
    const ZnPresenterClass* const open = present.firstOpen();
    return presenter == (open ? open : present.inOrder.value(0));
}

bool ResponsiblePresenter::isOpen() {
    Candidates& present = candidates();
    const std::lock_guard<std::mutex> guard(present.lock);
    return present.firstOpen() != nullptr;
}
