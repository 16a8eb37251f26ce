#include "query_progress_view.h"

#include <QMetaObject>
#include <cstdio>
#include <functional>
#include <mutex>
#include <utility>

#include "thread_hand_over.h"
#include "velmarutils/velmar_utils.h"
#include "vocabulary/fields.h"
#include "vocabulary/own_keys.h"
#include "znmsg/c_un_pack_message_common.h"
#include "znwidget/zn_presenter_class.h"

namespace {

constexpr int kSubscribe = 1;

/// Gets the event on a thread of its own; deletes itself with the platform.
class ProgressListener : public ZnPresenterClass {
public:
    using OnRecord = std::function<void(const QVariantMap& record)>;

    explicit ProgressListener(OnRecord onRecord)
        : ZnPresenterClass(QStringLiteral("ZNApp.ProgressListener"), nullptr,
                           IMessageInterface::OwnThreads),
          m_onRecord(std::move(onRecord)),
          m_event(VelmarUtils::GetTorviEventMsgIdByStr(OwnKeys::historyQueryProgress)) {
        SubEvent(pluginPid(), m_event, kSubscribe);
    }

    void ProcEventMsg(QString, QVariant eventId, QVariant body) override {
        if (eventId.toInt() == m_event) {
            CUnPackMessageCommon unpacker;
            unpacker.SetUnPackMsg(body, false);
            m_onRecord(unpacker.GetRowValue());
        }
    }

private:
    const OnRecord m_onRecord;
    const int m_event;
};

}  // namespace

/// Where steps go; outlives the view, for the listener's thread.
struct QueryProgressView::Target {
    std::mutex lock;  // guards view
    QueryProgressView* view = nullptr;
};

QueryStep QueryStep::ofRecord(const QVariantMap& record) {
    return {QStringLiteral("%1 %2").arg(record.value(OwnKeys::queryFunction).toString(),
                                        record.value(UserAccount::tradingAccount).toString()),
            record.value(OwnKeys::pagesDone).toInt(), record.value(OwnKeys::pagesTotal).toInt()};
}

QueryProgressView::QueryProgressView() : m_target(std::make_shared<Target>()) {
    m_target->view = this;
    auto* const listener = new ProgressListener([target = m_target](const QVariantMap& record) {
        const std::lock_guard<std::mutex> guard(target->lock);
        if (QueryProgressView* const view = target->view) {
            runOnThreadOf(
                &view->m_context, [view, step = QueryStep::ofRecord(record)] { view->show(step); },
                Qt::QueuedConnection);
        }
    });
    listener->initPresenter();
}

QueryProgressView::~QueryProgressView() {
    {
        const std::lock_guard<std::mutex> guard(m_target->lock);
        m_target->view = nullptr;
    }
    if (m_bar) {
        m_bar->clear();
    }
}

void QueryProgressView::show(const QueryStep& step) {
    if (!m_bar || m_title != step.title) {
        m_title = step.title;
        m_bar = std::make_unique<ProgressBar>(stderr, step.title);
    }
    m_bar->show(step.done, step.total);
}
