#pragma once

#include "server_answer.h"

class ZnPresenterClass;

/// Sends one record as a synchronous request and judges what comes back. Blocks for the request. A
/// null presenter gives an error.
ServerAnswer queryServer(ZnPresenterClass* presenter, const QString& msgType,
                         const QVariantMap& request);

/// No server has so many pages, but one that never ends its list does.
constexpr int kStandingMostPages = 100000;
/// Pages after which a paged query gives a list up that has not ended. Any thread.
int mostPagesOfAQuery();
void setMostPagesOfAQuery(int pages);
