#include "price_unit_ladders.h"

#include <cmath>

#include "log.h"
#include "vocabulary/names.h"
#include "zndatabase/c_data_base.h"

namespace {

QMap<int, double> ladderOf(const QString& section) {
    const QMap<QString, QString> values =
        CDataBase::GetInstance()->GetStaticValuesBySection(section);
    QMap<int, double> ladder;
    for (auto it = values.cbegin(); it != values.cend(); ++it) {
        enterLadderRow(it.key(), it.value(), &ladder);
    }
    return ladder;
}

}  // namespace

void enterLadderRow(const QString& bound, const QVariant& unit, QMap<int, double>* ladder) {
    bool isBound = false;
    const int level = bound.toInt(&isBound);
    const double step = unit.toDouble();
    if (!isBound || !std::isfinite(step) || step <= 0) {
        qCWarning(lcSymbolRules) << "unusable row of a Hong Kong price ladder: bound" << bound
                                 << "unit" << unit << "counts as" << level << "and" << step;
    }
    ladder->insert(level, step);
}

void PriceUnitLadders::load() {
    m_hkStockPriceUnitMap = ladderOf(DictionaryKey::HkStockPriceUnitDict);
    m_hkFundPriceUnitMap = ladderOf(DictionaryKey::HkFundPriceUnitDict);
}
