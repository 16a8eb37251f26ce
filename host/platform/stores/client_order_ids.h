#pragma once

#include <QString>

/// New client-side ids: unique in the process and over its restarts, and in order of their making
/// when compared as texts. Digits and the letters a to f only, always of one length.
QString newClientOrderId();
