#pragma once

#include <QString>

#include <cmath>

// How the commands about money write numbers.

/// Two decimals.
inline QString moneyText(double amount) {
    return QString::number(amount, 'f', 2);
}

/// A price, a rate or a quantity: as many digits as it has, at most 12.
inline QString numberText(double number) {
    return QString::number(number, 'g', 12);
}

/// "1 order", "2 orders".
inline QString countText(int count, const char* noun) {
    return QStringLiteral("%1 %2%3").arg(count).arg(QLatin1String(noun),
                                                    count == 1 ? QString() : QStringLiteral("s"));
}

/// The figure, or 0 for one that is not finite or above 1e15: the exported functions leave such
/// contributions out of their sums.
inline double countable(double figure) {
    constexpr double kMost = 1e15;
    return std::abs(figure) <= kMost ? figure : 0;  // false for NaN
}

/// A figure that a running table and a fresh reckoning give differently.
struct FigureDifference {
    QString account;
    QString item;
    QString figure;
    double running = 0;
    double fresh = 0;
};
