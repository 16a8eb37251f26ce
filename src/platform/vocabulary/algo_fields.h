#pragma once

#include <QString>

/// Field names of the algorithm trading record.
/// Such a record also carries common fields, so the keys are unique over all field namespaces.
namespace Algo_Fields {

/// Fields of an algorithm instance.
namespace VelmarStrategy {
inline const QString instanceId = QStringLiteral("instanceId");
}

}  // namespace Algo_Fields
