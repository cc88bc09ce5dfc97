// Owners for what the platform hands out. Message queues and power notifications are no kernel handles to
// their owners.
#pragma once

#include "base/unique_resource.h"
#include "platform/platform.h"

namespace cam::platform {

using UniqueDeviceSearch = UniqueResource<HANDLE, CloseDeviceSearch>;
using UniqueMessageQueue = UniqueResource<HANDLE, CloseMsgQueue>;
using UniquePowerNotification = UniqueResource<HANDLE, StopPowerNotifications>;

}  // namespace cam::platform
