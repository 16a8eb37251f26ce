#pragma once

#include <QHash>
#include <QMap>
#include <QString>
#include <QStringList>
#include <QVariantMap>

#include "platform_export.h"

/// Checks the rules of quantity for every security: the smallest order must be a multiple of the
/// quantity step, or no order of that size could be placed. Returns a sentence for each security
/// where it is not, sorted by symbol. Steps and minimums are the values of the static database's
/// sections by their keys. Shares of Hong Kong are left out, since their minimum is their step.
PLATFORM_API QStringList minimumsOffTheirStep(const QHash<QString, QVariantMap>& securities,
                                              const QMap<QString, QString>& steps,
                                              const QMap<QString, QString>& minimums);
