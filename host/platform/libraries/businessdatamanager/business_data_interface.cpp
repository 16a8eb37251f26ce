#include "businessdatamanager/business_data_interface.h"

#include "neighbour_data.h"

QList<QVariantMap> BusinessDataInterface::GetExecutionListByAccount(const QVariantMap& account,
                                                                    int& total, int start,
                                                                    int count, const QStringList&,
                                                                    const QStringList&) {
    total = 0;
    const auto provider = NeighbourSlot::get();
    return provider ? provider->executions(account, start, count, &total) : QList<QVariantMap>();
}

QList<QVariantMap> BusinessDataInterface::GetPositionListByAccount(const QVariantMap& account,
                                                                   const QString&, const QString&,
                                                                   const QString&, const QString&,
                                                                   const QString&, const QString&) {
    const auto provider = NeighbourSlot::get();
    return provider ? provider->positions(account) : QList<QVariantMap>();
}

void BusinessDataInterface::RequeryAccountFundInfo(ZnPresenterClass* presenter) {
    const auto provider = NeighbourSlot::get();
    if (provider && presenter) {
        provider->requeryFunds(presenter);
    }
}
