#pragma once

#include <QDate>

#include "server_call.h"

/// Answers with the part of a computed list that the request asks for, see PageRequest; a row's
/// position is its number from 1 on. The header gets System::totalSize, the number of all rows, and
/// the fields of the page. Invalid fields are refused.
HandlerAnswer answerList(const ServerCall& call, const QList<QVariantMap>& rows,
                         int maxPageSize = 5000);

/// Reads a date that a request must have, in any form that dateOf() accepts. False with a text for
/// a missing or an invalid one.
bool readRequestDate(const ServerCall& call, const QString& field, QDate* date, QString* refusal);
