#include "neighbour_presenter.h"

#include "neighbour_log.h"
#include "velmar_business_data_interface.h"
#include "velmarutils/velmar_utils.h"
#include "vocabulary/names.h"

Q_LOGGING_CATEGORY(lcNeighbour, "example.neighbour", QtInfoMsg)

namespace {

constexpr int kSubscribe = 1;

}  // namespace

NeighbourPresenter::NeighbourPresenter(QObject* plugin)
    : ZnPresenterClass(QStringLiteral("Example.Neighbour"), plugin, IMessageInterface::OwnThreads),
      m_cageLoaded(
          VelmarUtils::GetTorviEventMsgIdByStr(EventMsgName::PRICE_CAGE_INFO_FINISH_INIT)) {
    SubEvent(pluginPid(), m_cageLoaded, kSubscribe);
}

void NeighbourPresenter::ProcEventMsg(QString, QVariant eventId, QVariant) {
    if (eventId.toInt() != m_cageLoaded) {
        return;
    }
    ++m_events;
    qCInfo(lcNeighbour) << "the price cage is loaded,"
                        << VelmarBusinessDataInterface::GetAllCageMap().size() << "classes";
}
