#pragma once

#include <QString>

/// A new client-side id: unique in the process and across restarts; later ids are greater when
/// compared as texts. Digits and the letters a to f only, always of the same length.
QString newClientOrderId();
