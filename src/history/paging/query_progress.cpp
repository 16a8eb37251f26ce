#include "query_progress.h"

#include "query_log.h"
#include "velmarutils/velmar_utils.h"
#include "vocabulary/fields.h"
#include "vocabulary/own_keys.h"
#include "znmsg/c_pack_message_common.h"

namespace {

constexpr qint64 kIntervalMs = 100;

qint64 nextId() {
    static std::atomic<qint64> s_lastId{0};
    return ++s_lastId;
}

}  // namespace

QueryProgress::QueryProgress(ZnPresenterClass* presenter, const QString& function, Elapsed elapsed)
    : m_presenter(presenter),
      m_function(function),
      m_elapsed(std::move(elapsed)),
      m_id(nextId()),
      m_nextMs(kIntervalMs) {
    m_timer.start();
}

void QueryProgress::beginPart(const QString& tradingAccount, const QDate& firstDay,
                              const QDate& lastDay) {
    m_tradingAccount = tradingAccount;
    m_firstDay = firstDay;
    m_lastDay = lastDay;
    m_pages = 0;
    m_done = 0;
}

void QueryProgress::pageDone() {
    const qint64 done = ++m_done;
    if (!m_presenter) {
        return;
    }
    const qint64 now = m_elapsed ? m_elapsed() : m_timer.elapsed();
    qint64 next = m_nextMs;
    // Of several threads one publishes.
    if (now >= next && m_nextMs.compare_exchange_strong(next, now + kIntervalMs)) {
        publish(done);
    }
}

void QueryProgress::publish(qint64 done) const {
    CPackMessageCommon body;
    body.AddRowVaule({{OwnKeys::queryId, m_id},
                      {OwnKeys::queryFunction, m_function},
                      {UserAccount::tradingAccount, m_tradingAccount},
                      {System::startDate, dateNumber(m_firstDay)},
                      {System::endDate, dateNumber(m_lastDay)},
                      {OwnKeys::pagesDone, done},
                      {OwnKeys::pagesTotal, m_pages.load()}});
    VelmarUtils::SendEventMsg(m_presenter, OwnKeys::historyQueryProgress, body.GetPackedMsg(false));
}
