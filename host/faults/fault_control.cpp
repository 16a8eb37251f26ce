#include "fault_control.h"

#include <QVector>

#include "host_msg_type.h"
#include "packed_body.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"

namespace {

enum class Command { Add, Clear, List };

struct Order {
    Command command = Command::List;
    Fault fault;
};

bool readOrder(const QVariantMap& row, Order* order, QString* refusal) {
    const QString command = row.value(FaultField::command).toString();
    LineError error;
    if (command == QLatin1String("add")) {
        order->command = Command::Add;
        if (!readFault(row.value(FaultField::fault).toString(), &order->fault, &error)) {
            *refusal = error.toString();
            return false;
        }
    } else if (command == QLatin1String("clear")) {
        order->command = Command::Clear;
    } else if (command != QLatin1String("list")) {
        *refusal = QStringLiteral("'%1' is not a command (add, clear, list)").arg(command);
        return false;
    }
    return true;
}

QVariant answerOf(const QVariantMap& request, const QString& refusal, const QStringList& faults) {
    QVariantMap header{{System::requestExeStatus, RequestExeStatus::success}};
    if (!refusal.isEmpty()) {
        header = makeErrorBody(refusal).toList().first().toMap();
    }
    header.insert(System::msgType, HostMsgType::control);
    header.insert(System::subGroupNumber, faults.size());
    header.insert(System::totalSize, faults.size());
    if (request.contains(System::clientMsgID)) {
        header.insert(System::clientMsgID, request.value(System::clientMsgID));
    }
    QVariantList rows{header};
    for (const QString& fault : faults) {
        rows.append(QVariantMap{{FaultField::fault, fault}});
    }
    return rows;
}

}  // namespace

QVariant answerFaultControl(FaultPlan& plan, const QVariant& body) {
    QList<QVariantMap> rows = rowsOfPackedBody(body);
    const QVariantMap header = rows.takeFirst();
    QVector<Order> orders;
    for (int i = 0; i < rows.size(); ++i) {
        Order order;
        QString refusal;
        if (!readOrder(rows.at(i), &order, &refusal)) {
            return answerOf(header, QStringLiteral("row %1, %2").arg(i + 1).arg(refusal), {});
        }
        orders.append(order);
    }
    if (orders.isEmpty()) {
        return answerOf(header, QStringLiteral("the request has no command"), {});
    }
    QStringList listed;
    for (const Order& order : qAsConst(orders)) {
        if (order.command == Command::Add) {
            plan.add(order.fault);
        } else if (order.command == Command::Clear) {
            plan.clear();
        } else {
            listed = plan.list();
        }
    }
    return answerOf(header, QString(), listed);
}
