#pragma once

#include <QtGlobal>

class ZnPresenterClass;

/// Sets a presenter's time-out for as long as the object lives; for 0 seconds it does nothing. Of
/// several at once on one presenter, the first one saves the standing time-out, each sets its own,
/// and the last one to go restores it. Any thread.
class PresenterTimeOut {
public:
    PresenterTimeOut(ZnPresenterClass& presenter, int seconds);
    ~PresenterTimeOut();
    Q_DISABLE_COPY(PresenterTimeOut)

private:
    ZnPresenterClass* const m_presenter;  // null when it does nothing
};
