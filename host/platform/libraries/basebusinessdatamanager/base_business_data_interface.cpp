#include "basebusinessdatamanager/base_business_data_interface.h"

#include "neighbour_data.h"

namespace {

int countOf(int (NeighbourData::*count)(const QString&) const, const QString& tradingAccount) {
    const auto provider = NeighbourSlot::get();
    return provider ? ((*provider).*count)(tradingAccount) : 0;
}

}  // namespace

int BaseBusinessDataInterface::GetPositionCountByTradingAccount(const QString& tradingAccount) {
    return countOf(&NeighbourData::positionCount, tradingAccount);
}

int BaseBusinessDataInterface::GetExecutionCountByTradingAccount(const QString& tradingAccount) {
    return countOf(&NeighbourData::executionCount, tradingAccount);
}

int BaseBusinessDataInterface::GetOrdersCountByTradingAccount(const QString& tradingAccount) {
    return countOf(&NeighbourData::orderCount, tradingAccount);
}
