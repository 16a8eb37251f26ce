#pragma once

#include <QVariant>

#include "fault_plan.h"

/// The fields of a HostMsgType::control request and of its answer. One data row is one command.
namespace FaultField {
inline const QString command = QStringLiteral("command");  ///< add, clear or list
inline const QString fault = QStringLiteral("fault");      ///< a fault's line
}  // namespace FaultField

/// Does what the rows of a packed body say, all or, when one of them is wrong, nothing, and returns
/// the packed answer: a refusal that names row and column, or the faults as rows, as FaultPlan
/// lists them, when one of the commands was "list". Any thread.
QVariant answerFaultControl(FaultPlan& plan, const QVariant& body);
