#include "price_unit_ladders.h"

#include "vocabulary/names.h"
#include "zndatabase/c_data_base.h"

namespace {

QMap<int, double> ladderOf(const QString& section) {
    const QMap<QString, QString> values =
        CDataBase::GetInstance()->GetStaticValuesBySection(section);
    QMap<int, double> ladder;
    for (auto it = values.cbegin(); it != values.cend(); ++it) {
        ladder.insert(it.key().toInt(), it.value().toDouble());
    }
    return ladder;
}

}  // namespace

void PriceUnitLadders::load() {
    m_hkStockPriceUnitMap = ladderOf(DictionaryKey::HkStockPriceUnitDict);
    m_hkFundPriceUnitMap = ladderOf(DictionaryKey::HkFundPriceUnitDict);
}
