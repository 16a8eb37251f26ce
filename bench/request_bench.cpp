// The time of a synchronous request of a presenter over the embedded link until the caller has the
// answer, of one row and of a thousand rows. Compared with a direct call of the server's handler,
// which shows what the way there and back adds.

#include <QTemporaryDir>
#include <QVariantMap>
#include <cstdio>
#include <functional>

#include "bench_report.h"
#include "embedded_link.h"
#include "host_msg_type.h"
#include "local_platform.h"
#include "sample_market.h"
#include "server_engine.h"
#include "vocabulary/fields.h"
#include "znmsg/c_message_common.h"
#include "znmsg/c_pack_message_common.h"
#include "znwidget/zn_presenter_class.h"

namespace {

constexpr int kAccounts = 1000;

double percentile(std::vector<double> values, double part) {
    std::sort(values.begin(), values.end());
    const auto last = static_cast<double>(values.size() - 1);
    return values.empty() ? 0 : values[static_cast<std::size_t>(last * part)];
}

QVariant bodyOf(const QString& type, QVariantMap fields) {
    fields.insert(System::msgType, type);
    fields.insert(UserAccount::loginUserId, SampleLogin::user);
    return QVariantList{fields};
}

struct Question {
    const char* name;
    QString type;
    QVariantMap fields;
    int rows;  ///< of the answer, without its header
    int count;
};

std::vector<Question> questions() {
    return {{"1 row", QStringLiteral("120006"),
             QVariantMap{{QStringLiteral("10094"), 2},
                         {UserAccount::tradingAccount, QStringLiteral("T000001")}},
             1, 4000},
            {"1000 rows", HostMsgType::accountTree, QVariantMap(), kAccounts, 400}};
}

/// The times of a call that returns a body; empty when an answer has a wrong number of rows.
std::vector<double> microsecondsOf(const Question& question,
                                   const std::function<QVariant()>& call) {
    std::vector<double> times;
    for (int i = -question.count / 10; i < question.count; ++i) {
        QVariant answer;
        const double milliseconds = millisecondsOf([&] { answer = call(); });
        if (answer.toList().size() != question.rows + 1) {
            return {};
        }
        // The first calls only warm up.
        if (i >= 0) {
            times.push_back(milliseconds * 1000);
        }
    }
    return times;
}

bool compare(const Question& question, ZnPresenterClass& presenter, ServerEngine& engine) {
    const Session session = engine.openSession({});
    const std::vector<double> direct = microsecondsOf(question, [&] {
        return engine.handle(session, question.type, bodyOf(question.type, question.fields));
    });
    engine.closeSession(session);
    const std::vector<double> sent = microsecondsOf(question, [&] {
        auto* const message = new CMessageCommon;
        message->SetType(question.type);
        message->SetMsg(bodyOf(question.type, question.fields));
        message->SetSrcid(presenter.pluginPid());
        QVariant answer;
        return presenter.sendRequest_Sync(message, answer) == 0 ? answer : QVariant();
    });
    if (direct.empty() || sent.empty()) {
        std::fprintf(stderr, "%s: an answer is not of %d rows\n", question.name, question.rows);
        return false;
    }
    std::printf("%-9s  p50 %9.1f us, p99 %9.1f us; handler alone p50 %9.1f us, p99 %9.1f us; %d\n",
                question.name, percentile(sent, 0.5), percentile(sent, 0.99),
                percentile(direct, 0.5), percentile(direct, 0.99), question.count);
    return true;
}

bool run(const QTemporaryDir& home, QString* error) {
    MarketOptions market;
    market.accounts = kAccounts;
    market.symbols = 20;
    LocalPlatform& platform = LocalPlatform::instance();
    if (!makeSampleMarket(home.path(), market, {}, error) ||
        !platform.start({home.path(), QString()}, error)) {
        return false;
    }
    const auto engine = ServerEngine::open(marketStoreFile(home.path()), error);
    if (!engine || !platform.setLink(std::make_unique<EmbeddedLink>(engine), error)) {
        return false;
    }
    // Disposed of by the platform's close().
    auto* const presenter =
        new ZnPresenterClass(QStringLiteral("Bench"), nullptr, IMessageInterface::OwnThreads);
    presenter->initPresenter();
    std::printf("requests over the embedded link, %d accounts\n", kAccounts);
    bool good = true;
    for (const Question& question : questions()) {
        good = compare(question, *presenter, *engine) && good;
    }
    return good;
}

}  // namespace

int main(int argc, char** argv) {
    const QCoreApplication app(argc, argv);
    QLoggingCategory::setFilterRules(QStringLiteral("velmar.*=false"));
    const QTemporaryDir home;
    QString error;
    const bool good = run(home, &error);
    if (!error.isEmpty()) {
        std::fprintf(stderr, "%s\n", qPrintable(error));
    }
    LocalPlatform::instance().close();
    return good ? 0 : 1;
}
