#include "ticks_command.h"

#include <QDateTime>
#include <QMap>
#include <array>

#include "text_table.h"
#include "vocabulary/tick_fields.h"

namespace {

/// A column; numbers are aligned to the right, texts to the left.
struct Column {
    const char* title;
    int width;
    bool isNumber;
};

constexpr std::array<Column, 10> kColumns{{{"Time", 12, false},
                                           {"Symbol", 12, false},
                                           {"Phase", 15, false},
                                           {"Last", 10, true},
                                           {"Change", 9, true},
                                           {"Bid", 10, true},
                                           {"Bid qty", 9, true},
                                           {"Ask", 10, true},
                                           {"Ask qty", 9, true},
                                           {"Total qty", 12, true}}};

QString phaseText(const QString& phase) {
    static const QMap<QString, QString> texts{
        {TickPhase::beforeOpen, QStringLiteral("before open")},
        {TickPhase::openingAuction, QStringLiteral("opening auction")},
        {TickPhase::afterAuction, QStringLiteral("after auction")},
        {TickPhase::continuous, QStringLiteral("continuous")},
        {TickPhase::midBreak, QStringLiteral("break")},
        {TickPhase::closingAuction, QStringLiteral("closing auction")},
        {TickPhase::closed, QStringLiteral("closed")}};
    return texts.value(phase, phase);
}

/// Empty for a side without a price.
QString priceText(double price) {
    return price > 0 ? QString::number(price, 'g', 10) : QString();
}

QString qtyText(const QVariant& qty) {
    return qty.toLongLong() > 0 ? QString::number(qty.toLongLong()) : QString();
}

QString changeText(double last, double close) {
    if (!(last > 0) || !(close > 0)) {
        return {};
    }
    const double percent = (last - close) / close * 100;
    return QStringLiteral("%1%2 %")
        .arg(percent > 0 ? QStringLiteral("+") : QString())
        .arg(percent, 0, 'f', 2);
}

QString lineOfCells(const QStringList& cells) {
    QString line;
    for (size_t i = 0; i < kColumns.size(); ++i) {
        const Column& column = kColumns.at(i);
        const QString cell = harmlessText(cells.value(static_cast<int>(i)));
        line += i == 0 ? QString() : QStringLiteral("  ");
        line +=
            column.isNumber ? cell.rightJustified(column.width) : cell.leftJustified(column.width);
    }
    return line;
}

}  // namespace

TicksCommand::TicksCommand(const QStringList& symbols, int most)
    : m_symbols(symbols.cbegin(), symbols.cend()), m_most(most) {}

QString TicksCommand::title() {
    QStringList cells;
    for (const Column& column : kColumns) {
        cells.append(QLatin1String(column.title));
    }
    return lineOfCells(cells);
}

QString TicksCommand::lineOf(const QVariantMap& tick) {
    const double last = tick.value(TickField::lastPrice).toDouble();
    return lineOfCells(
        {tick.value(TickField::time).toDateTime().toString(QStringLiteral("HH:mm:ss.zzz")),
         tick.value(TickField::symbol).toString(),
         phaseText(tick.value(TickField::phase).toString()), priceText(last),
         changeText(last, tick.value(TickField::previousClose).toDouble()),
         priceText(tick.value(TickField::buyPrice[0]).toDouble()),
         qtyText(tick.value(TickField::buyQty[0])),
         priceText(tick.value(TickField::sellPrice[0]).toDouble()),
         qtyText(tick.value(TickField::sellQty[0])), qtyText(tick.value(TickField::totalQty))});
}

QString TicksCommand::take(const QString& symbol, const QVariantMap& tick) {
    if (over() || !m_symbols.contains(symbol)) {
        return {};
    }
    ++m_taken;
    return lineOf(tick);
}
