// Order messages and order arbitration. NewOrderList with 1, 100 and 5,000 rows is measured built
// alone and built with its wire form, beside QuickFIX, which creates and serialises messages with
// the same fields in the same run. CanOrderUpdate is measured beside the look-up, the eight field
// reads and the scan of the list that it cannot do without.

#include <QStringList>
#include <QTemporaryDir>
#include <memory>

#include "bench_report.h"
#include "packed_body_wire.h"
#include "quickfix_orders.h"
#include "velmar_business_data_interface.h"
#include "vocabulary/constants.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"
#include "zndatabase/c_data_base.h"
#include "znmsg/c_message_common.h"
#include "znmsg/c_un_pack_message_common.h"

namespace {

using Facade = VelmarBusinessDataInterface;

constexpr int kRounds = 15;
constexpr int kRowsOfRound = 10000;
constexpr int kUpdates = 20000;
constexpr double kTolerance = 1e-10;
inline const QString kOrderPrice = QStringLiteral("orderPrice");

QVariantMap orderOf(int number) {
    return {{UserAccount::tradingAccount, QStringLiteral("T000001")},
            {UserAccount::securityExchange, Exchange::sh},
            {Security::symbol, QStringLiteral("%1.SH").arg(600000 + number % 50)},
            {System::clientMsgID, QString::number(1000000 + number)},
            {Security::clOrdID, QStringLiteral("C%1").arg(number)},
            {Security::side, SideUnion::normalBuy},
            {Security::orderQty, 100 * (1 + number % 50)},
            {kOrderPrice, 10.0 + number % 100 / 100.0},
            {Security::orderType, OrderType::market},
            {CustomField::priceType, PriceType::shDealOrCancel5},
            {Instruction::InstructionID, QStringLiteral("I%1").arg(number)}};
}

QList<QVariantMap> listOf(int rows) {
    QList<QVariantMap> list{{{System::clientMsgID, QStringLiteral("1")}}};
    for (int row = 0; row < rows; ++row) {
        list.append(orderOf(row));
    }
    return list;
}

using Message = std::unique_ptr<CMessageCommon>;

Message built(const QList<QVariantMap>& list) {
    return Message(Facade::NewOrderList(list, false, false));
}

/// The rows of a built message, for the other library.
std::vector<PlainOrder> plainOrders(const CMessageCommon& message) {
    CUnPackMessageCommon unpacker;
    unpacker.SetUnPackMsg(message.GetMsg(), false);
    std::vector<PlainOrder> orders;
    for (int row = 1; unpacker.SetCurrentRow(row); ++row) {
        const QVariantMap record = unpacker.GetRowValue();
        const auto text = [&record](const QString& key) {
            return record.value(key).toString().toStdString();
        };
        orders.push_back(
            {text(UserAccount::tradingAccount), text(UserAccount::securityAccount),
             text(UserAccount::securityExchange), text(Security::securityID),
             text(System::clientMsgID), text(Security::clOrdID), text(CustomField::priceType),
             text(Security::side), text(Security::orderType), text(Security::parentOrderID),
             text(Security::orderFlowType), text(Security::orderStation),
             record.value(Security::orderQty).toDouble(), record.value(kOrderPrice).toDouble(),
             text(Security::maxPriceLevels), text(Security::minQty), text(Security::timeInForce),
             text(Security::transActTime)});
    }
    return orders;
}

void reportList(int rows) {
    const QList<QVariantMap> list = listOf(rows);
    const std::vector<PlainOrder> plain = plainOrders(*built(list));
    const int repeats = std::max(1, kRowsOfRound / rows);
    const double orders = double(rows) * repeats;
    std::vector<double> build;
    std::vector<double> wire;
    std::vector<double> other;
    qint64 bytes = 0;
    for (int round = 0; round < kRounds; ++round) {
        build.push_back(millisecondsOf([&] {
            for (int i = 0; i < repeats; ++i) {
                built(list);
            }
        }));
        wire.push_back(millisecondsOf([&] {
            for (int i = 0; i < repeats; ++i) {
                QByteArray body;
                QString error;
                if (!PackedBodyWire::encode(built(list)->GetMsg(), &body, &error)) {
                    std::fprintf(stderr, "%s\n", qPrintable(error));
                    std::exit(1);
                }
                bytes += body.size();
            }
        }));
        other.push_back(millisecondsOf([&] {
            for (int i = 0; i < repeats; ++i) {
                bytes += static_cast<qint64>(serialiseWithQuickFix(plain));
            }
        }));
    }
    const auto perSecond = [orders](const std::vector<double>& times) {
        return orders / medianOf(times) * 1000;
    };
    std::printf(
        "NewOrderList of %4d rows: built %8.0f rows/s, with wire form %8.0f rows/s, QuickFIX %8.0f "
        "orders/s, ratio of times %.2f (at most 1.0)\n",
        rows, perSecond(build), perSecond(wire), perSecond(other),
        medianOf(wire) / medianOf(other));
    if (bytes == 0) {
        std::exit(1);
    }
}

QVariantMap updateOf(int number, const QString& status) {
    QVariantMap record = orderOf(1);
    record.insert(Security::orderID, QStringLiteral("O1"));
    record.insert(Security::orderStatus, status);
    record.insert(Security::cumQty, 100 * number);
    record.insert(Security::cancelledQty, 0);
    return record;
}

/// What arbitration has to read and compare, written out.
bool bareUpdate(const QVariantMap& oldOrder, const QVariantMap& newOrder) {
    const QString id = oldOrder.value(Security::orderID).toString();
    const QString newId = newOrder.value(Security::orderID).toString();
    const QString oldStatus = oldOrder.value(Security::orderStatus).toString();
    const QString newStatus = newOrder.value(Security::orderStatus).toString();
    const double oldCum = oldOrder.value(Security::cumQty).toDouble();
    const double newCum = newOrder.value(Security::cumQty).toDouble();
    const double oldCancel = oldOrder.value(Security::cancelledQty).toDouble();
    const double newCancel = newOrder.value(Security::cancelledQty).toDouble();
    const QString list =
        CDataBase::GetInstance()->GetStaticCfgValue(Constants::ORDERSTATUSSWITCH, oldStatus);
    bool isListed = false;
    for (int from = 0; from <= list.size() && !isListed;) {
        int to = list.indexOf(QLatin1Char('|'), from);
        to = to < 0 ? list.size() : to;
        isListed = list.midRef(from, to - from) == newStatus;
        from = to + 1;
    }
    const bool same = oldStatus == newStatus && newCum <= oldCum + kTolerance &&
                      newCancel <= oldCancel + kTolerance;
    return !id.isEmpty() && id == newId && isListed && !same && newCum >= oldCum - kTolerance &&
           newCancel >= oldCancel - kTolerance;
}

void reportUpdates() {
    // Accepted ones: partly filled, then a little more.
    const QVariantMap stored = updateOf(1, QStringLiteral("1"));
    const QVariantMap next = updateOf(2, QStringLiteral("1"));
    if (!Facade::CanOrderUpdate(stored, next) || !bareUpdate(stored, next)) {
        std::fprintf(stderr, "the update is not accepted\n");
        std::exit(1);
    }
    std::vector<double> ours;
    std::vector<double> bare;
    int accepted = 0;
    for (int round = 0; round < kRounds; ++round) {
        ours.push_back(millisecondsOf([&] {
            for (int i = 0; i < kUpdates; ++i) {
                accepted += Facade::CanOrderUpdate(stored, next) ? 1 : 0;
            }
        }));
        bare.push_back(millisecondsOf([&] {
            for (int i = 0; i < kUpdates; ++i) {
                accepted += bareUpdate(stored, next) ? 1 : 0;
            }
        }));
    }
    if (accepted != 2 * kRounds * kUpdates) {
        std::exit(1);
    }
    std::printf("CanOrderUpdate: %.0f ns, bare reads %.0f ns, ratio %.2f (at most 1.5)\n",
                medianOf(ours) / kUpdates * 1e6, medianOf(bare) / kUpdates * 1e6,
                medianOf(ours) / medianOf(bare));
}

}  // namespace

int main(int argc, char** argv) {
    const QCoreApplication app(argc, argv);
    QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false\n*.info=false"));
    const QTemporaryDir home;
    Client client(benchClient(home), {});
    QString error;
    if (!client.start(&error)) {
        std::fprintf(stderr, "%s\n", qPrintable(error));
        return 1;
    }
    for (const int rows : {1, 100, 5000}) {
        reportList(rows);
    }
    reportUpdates();
    client.stop();
    return 0;
}
