#pragma once

#include "vocabulary/torvi_keys.h"
#include "vocabulary/velmar_constants.h"

// The groups of settings, dictionary sections, formats and events under the short names that code
// uses: the last two components. A nested group of settings is therefore also a group of its own.

namespace DateTimeFormatString {
using namespace VelmarConstants::DateTimeFormatString;
}

namespace DictionaryKey {
using namespace VelmarConstants::DictionaryKey;
}

namespace EventMsgName {
using namespace Torvi_Keys::EventMsgName;
}

namespace SettingFieldName {
using namespace VelmarConstants::SettingFieldName;
namespace AutoLoginSetting {
using namespace VelmarConstants::SettingFieldName::AutoLoginSetting;
}
namespace ETFTradeSetting {
using namespace VelmarConstants::SettingFieldName::ETFTradeSetting;
}
namespace SystemSetting {
using namespace VelmarConstants::SettingFieldName::SystemSetting;
}
}  // namespace SettingFieldName

namespace AutoLoginSetting {
using namespace ::SettingFieldName::AutoLoginSetting;
}

namespace ETFTradeSetting {
using namespace ::SettingFieldName::ETFTradeSetting;
}

namespace SystemSetting {
using namespace ::SettingFieldName::SystemSetting;
}
