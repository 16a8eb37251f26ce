#pragma once

#include <QVariant>

#include "fault_plan.h"

/// The fields of a HostMsgType::control request and of its answer. One data row is one command.
namespace FaultField {
inline const QString command = QStringLiteral("command");  ///< add, clear or list
inline const QString fault = QStringLiteral("fault");      ///< a fault's line
}  // namespace FaultField

/// Carries out the commands in the rows of a packed body, or none of them when one is wrong, and
/// returns the packed answer: a refusal that names row and column, or a success, with the faults as
/// rows (FaultPlan::list()) when one of the commands was "list". Any thread.
QVariant answerFaultControl(FaultPlan& plan, const QVariant& body);
