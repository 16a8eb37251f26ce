#pragma once

#include <QMap>
#include <QString>
#include <QStringList>
#include <QVariantMap>

class SymbolDataReader;

/// Whether a figure may be added to a total. A sum that once contained 1e300 has lost every smaller
/// figure, and one that contained NaN stays NaN.
bool isCountable(double contribution);
/// The contribution, or 0 when it is not countable. Totals change by differences of this function,
/// so that a figure that was left out is not subtracted later.
double countable(double contribution);

/// The security of a position row.
struct PositionSecurity {
    /// When no symbol is known, the row's security id behind a "?", which begins no symbol: the id
    /// may read like the symbol of another security, or become known later.
    QString symbol;
    bool isKnown = false;
    /// The nominal quantity of one display unit: display factor times contract multiplier, which
    /// for gold counts kilograms, while its price is per gram.
    double unit = 1.0;
};

/// The name of a security id without a known symbol.
QString unknownSymbol(const QString& securityID);
/// A standard bond is known even where no list of securities contains it.
PositionSecurity positionSecurityOf(const SymbolDataReader& symbols,
                                    const QStringList& standardBonds, const QString& securityID,
                                    const QString& exchange);

/// Whether positions of an exchange are valued in a currency other than the account's.
bool hasExchangeRate(const QString& exchange);
/// The mid rate of an exchange; 0 when there is no usable one.
double midRateOf(const QMap<QString, QVariantMap>& rates, const QString& exchange);
