#pragma once

#include "server_answer.h"

class ZnPresenterClass;

/// Sends one record as a synchronous request and judges the answer. Blocks for the request. A null
/// presenter gives an error.
ServerAnswer queryServer(ZnPresenterClass* presenter, const QString& msgType,
                         const QVariantMap& request);
