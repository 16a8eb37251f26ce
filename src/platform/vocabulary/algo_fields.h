#pragma once

#include "vocabulary/text_constant.h"

/// Field names of the algorithm trading record.
/// Such a record also carries common fields, so the keys are unique over all field namespaces.
namespace Algo_Fields {

/// Fields of an algorithm instance.
namespace VelmarStrategy {
VELMAR_TEXT(instanceId, "instanceId");
}

}  // namespace Algo_Fields
