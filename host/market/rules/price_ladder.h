#pragma once

#include <QString>
#include <QVector>

/// The price bands of Hong Kong: the tick by price, for shares or for exchange-traded funds.
class PriceLadder {
public:
    struct Band {
        int upTo;        ///< upper end, which belongs to the band, in thousandths of a dollar
        QString spread;  ///< in dollars, as it is published
    };

    /// Reads one of the built-in ladders, "share" or "fund". False with a text on failure, which a
    /// ladder that does not rise or a spread that is no positive number is.
    bool load(const QString& name, QString* error);
    const QVector<Band>& bands() const { return m_bands; }
    /// The tick at a price in dollars; that of the last band above it.
    double spreadAt(double price) const;

private:
    QVector<Band> m_bands;
};
