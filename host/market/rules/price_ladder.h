#pragma once

#include <QString>
#include <QVector>

/// The price bands of Hong Kong: the tick by price, for shares or for exchange-traded funds.
class PriceLadder {
public:
    struct Band {
        int upTo;        ///< upper end, inclusive, in thousandths of a dollar
        QString spread;  ///< in dollars, as published
    };

    /// Reads one of the built-in ladders, "share" or "fund". False with a text on failure, also
    /// when the ladder does not rise or a spread is not a positive number.
    bool load(const QString& name, QString* error);
    const QVector<Band>& bands() const { return m_bands; }
    /// The tick at a price in dollars; above the last band, that of the last band.
    double spreadAt(double price) const;

private:
    QVector<Band> m_bands;
};
