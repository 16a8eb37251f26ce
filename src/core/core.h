#pragma once

#include "zn_business_data_manager.h"

/// The process's core, created by the first call. Any thread.
inline ZnBusinessDataManager& core() {
    return *ZnBusinessDataManager::instance();
}
