#pragma once

#include <memory>

#include "facade_record_value.h"
#include "velmar_market_value_info.h"
#include "znmsg/c_message_common.h"
#include "znmsg/c_un_pack_message_common.h"

/// A message that an exported function builds: type, header and rows. Writing it deletes it.
template <>
struct FacadeValue<CMessageCommon*> {
    static QString name() { return QStringLiteral("CMessageCommon*"); }
    static QJsonValue toJson(CMessageCommon* message) {
        const std::unique_ptr<CMessageCommon> owned(message);
        if (!owned) {
            return QJsonValue::Null;
        }
        CUnPackMessageCommon unpacker;
        unpacker.SetUnPackMsg(owned->GetMsg(), false);
        const QVariantMap header = unpacker.GetRowValue();
        QJsonArray rows;
        for (int row = 1; unpacker.SetCurrentRow(row); ++row) {
            rows.append(FacadeValue<QVariantMap>::toJson(unpacker.GetRowValue()));
        }
        return QJsonObject{{QStringLiteral("type"), owned->GetType().toString()},
                           {QStringLiteral("header"), FacadeValue<QVariantMap>::toJson(header)},
                           {QStringLiteral("rows"), rows}};
    }
};

struct MarketValueFields {
    template <class Record, class Visitor>
    static void visit(Record& record, Visitor&& field) {
        field("tradingAccount", record.tradingAccount);
        field("marketValue", record.marketValue);
        field("costValue", record.costValue);
        field("symbolMarketValueMap", record.symbolMarketValueMap);
        field("symbolCostValueMap", record.symbolCostValueMap);
    }
};

template <>
struct FacadeValue<VelmarMarketValueInfo> {
    static QString name() { return QStringLiteral("VelmarMarketValueInfo"); }
    static QJsonValue toJson(const VelmarMarketValueInfo& value) {
        return FacadeRecordValue<VelmarMarketValueInfo, MarketValueFields>::toJson(value);
    }
};
