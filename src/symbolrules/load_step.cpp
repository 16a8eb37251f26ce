#include "load_step.h"

#include "log.h"
#include "velmarutils/velmar_init_state_mgr.h"
#include "znwidget/zn_presenter_class.h"

bool LoadStep::isClosing(const ZnPresenterClass* presenter) {
    return presenter && presenter->isClosing();
}

bool LoadStep::begin(const ZnPresenterClass* presenter) {
    if (isClosing(presenter)) {
        return false;
    }
    // The registry still counts a load that was left as running. Cleared in either case, so that a
    // mark from before the registry was reset claims nothing later.
    const bool wasLeft = m_isLeft.exchange(false);
    return VelmarInitStateMgr::instance().StartInit(m_key) || wasLeft;
}

void LoadStep::finish(bool succeeded) {
    m_isLeft = false;
    VelmarInitStateMgr::instance().FinishInit(m_key, succeeded, true);
}

void LoadStep::leaveToNextPresenter() {
    qCInfo(lcSymbolRules) << "load" << m_key
                          << "broken off by a closing presenter; the next one continues it";
    m_isLeft = true;
}
