#pragma once

/// The number from which the ids of named events are counted.
namespace VelmarEventMsgID {

inline constexpr int TORVI_BASE_TYPE = 0x20000;

}  // namespace VelmarEventMsgID
