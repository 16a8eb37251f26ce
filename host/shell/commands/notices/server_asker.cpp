#include "server_asker.h"

#include "client.h"
#include "velmarutils/velmar_utils.h"
#include "znwidget/zn_presenter_class.h"

namespace {

constexpr int kPageSize = 1000;
constexpr int kStandingTimeOut = 0;

}  // namespace

ServerAsker::ServerAsker(Client& client)
    : m_client(client),
      m_presenter(new ZnPresenterClass(QStringLiteral("ZNApp.ServerAsker"), nullptr,
                                       IMessageInterface::OwnThreads)) {
    m_presenter->initPresenter();
}

ServerAsker::~ServerAsker() {
    m_presenter->deleteLater();
}

ServerAsker::Answer ServerAsker::run(
    const std::function<QList<QVariantMap>(QString& error)>& query) {
    Answer answer;
    answer.interrupted = !m_client.run([&] { answer.rows = query(answer.error); }, -1);
    return answer;
}

ServerAsker::Answer ServerAsker::ask(const QString& msgType, const QVariantMap& request) {
    return run([&](QString& error) {
        return VelmarUtils::QueryDatasFromServer(m_presenter, msgType, request,
                                                 QueryDataMode::Normal, error);
    });
}

ServerAsker::Answer ServerAsker::askPages(const QString& msgType, const QVariantMap& request) {
    return run([&](QString& error) {
        return VelmarUtils::QueryDatasFromServerByPage(m_presenter, msgType, request, error,
                                                       kPageSize, 1, 0, kStandingTimeOut);
    });
}
