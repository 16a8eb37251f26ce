// Client information: 10,000 items from one and from four threads, until the link has the request
// with them. Compared with queueing equal records to the application's thread and packing them into
// one body, which is what the way consists of.

#include <QCoreApplication>
#include <QTemporaryDir>
#include <QTime>
#include <atomic>
#include <memory>
#include <thread>
#include <vector>

#include "bench_report.h"
#include "packed_body.h"
#include "thread_hand_over.h"
#include "velmar_business_data_interface.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"
#include "vocabulary/velmar_msg_type.h"
#include "znmsg/c_pack_message_common.h"

namespace {

constexpr int kItems = 10000;
constexpr int kRounds = 5;
inline const QString kValue = QStringLiteral("bench");

/// What came through a link.
struct Counts {
    std::atomic<int> items{0};  ///< of this program
    std::atomic<int> batches{0};
};

/// Counts the requests with client information on their way to the server.
class CountingLink final : public GatewayLink {
public:
    CountingLink(std::unique_ptr<GatewayLink> below, std::shared_ptr<Counts> counts)
        : m_below(std::move(below)), m_counts(std::move(counts)) {}

    bool start(GatewayLinkListener* listener, QString* error) override {
        return m_below->start(listener, error);
    }
    void stop() override { m_below->stop(); }
    void loseGate(const QString& gate) override { m_below->loseGate(gate); }
    bool send(const GatewayRequest& request) override {
        if (request.msgType == Velmar_MsgType::ClientInfoUploadRequest) {
            int items = 0;
            for (const QVariantMap& row : rowsOfPackedBody(request.body)) {
                items += row.value(System::itemValue) == kValue ? 1 : 0;
            }
            m_counts->batches += items > 0 ? 1 : 0;
            m_counts->items += items;
        }
        return m_below->send(request);
    }

private:
    const std::unique_ptr<GatewayLink> m_below;
    const std::shared_ptr<Counts> m_counts;
};

void runOn(int threads, const std::function<void(int)>& work) {
    std::vector<std::thread> running;
    for (int i = 0; i < threads; ++i) {
        running.emplace_back([&work, threads] { work(kItems / threads); });
    }
    for (std::thread& thread : running) {
        thread.join();
    }
}

struct Times {
    double callers = 0;  ///< until every call has returned
    double all = 0;      ///< until the link has the items
};

Times report(int threads, Counts& counts) {
    Times times;
    const int before = counts.items;
    times.all = millisecondsOf([&] {
        times.callers = millisecondsOf([threads] {
            runOn(threads, [](int items) {
                for (int i = 0; i < items; ++i) {
                    VelmarBusinessDataInterface::AddClientInfo(ClinetInfoUpload::UserOperRecord,
                                                               kValue, QStringLiteral("detail"), 1,
                                                               QTime(), 0);
                }
            });
        });
        VelmarBusinessDataInterface::UploadAllClientInfo();
        while (counts.items - before < kItems) {
            QCoreApplication::processEvents();
        }
    });
    return times;
}

double floorOf(int threads) {
    QObject receiver;
    CPackMessageCommon packer;
    int packed = 0;
    const QVariantMap record{
        {System::itemType, ClinetInfoUpload::UserOperRecord}, {System::itemValue, kValue},
        {System::itemValueEx, QStringLiteral("detail")},      {System::operType, 1},
        {System::timeStamp, QStringLiteral("09:30:00.000")},  {Strategy::logTriggerTime, 0}};
    return millisecondsOf([&] {
        runOn(threads, [&](int items) {
            for (int i = 0; i < items; ++i) {
                runOnThreadOf(&receiver, [&packer, &packed, record] {
                    packer.AddRow();
                    packer.AddRowVaule(record);
                    ++packed;
                });
            }
        });
        while (packed < kItems) {
            QCoreApplication::processEvents();
        }
        packer.GetPackedMsg(false);
    });
}

void compare(int threads, Counts& counts) {
    std::vector<double> callers;
    std::vector<double> all;
    std::vector<double> floor;
    const int batches = counts.batches;
    for (int round = 0; round < kRounds; ++round) {
        const Times times = report(threads, counts);
        callers.push_back(times.callers);
        all.push_back(times.all);
        floor.push_back(floorOf(threads));
    }
    constexpr double kMsPerSecond = 1000;
    std::printf(
        "%d items from %d thread(s): %.0f items/s until the link has them, %.1f batches a time, "
        "%.2f us a call; queue and pack alone %.0f items/s\n",
        kItems, threads, kItems / medianOf(all) * kMsPerSecond,
        double(counts.batches - batches) / kRounds, medianOf(callers) / kItems * kMsPerSecond,
        kItems / medianOf(floor) * kMsPerSecond);
}

}  // namespace

int main(int argc, char** argv) {
    const QCoreApplication app(argc, argv);
    QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false\n*.info=false"));
    const QTemporaryDir home;
    const auto counts = std::make_shared<Counts>();
    Client::Options options = benchClient(home);
    options.wrapLink = [counts](std::unique_ptr<GatewayLink> below) {
        return std::unique_ptr<GatewayLink>(
            std::make_unique<CountingLink>(std::move(below), counts));
    };
    Client client(options, {});
    QString error;
    if (!client.start(&error)) {
        std::fprintf(stderr, "%s\n", qPrintable(error));
        return 1;
    }
    for (const int threads : {1, 4}) {
        compare(threads, *counts);
    }
    client.stop();
    return 0;
}
