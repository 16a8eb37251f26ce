#pragma once

#include "text_language.h"

/// The texts of `rules explain`. RulesCommand replaces %1 and so on.
namespace RulesTexts {

constexpr LocalText kItem{"Rule", "规则"};
constexpr LocalText kValue{"Value", "值"};
constexpr LocalText kSource{"From", "来源"};

constexpr LocalText kUnknown{"no security is called '%1'", "没有证券代码'%1'"};
constexpr LocalText kDidYouMean{"; did you mean %1?", "，是否为 %1？"};
constexpr LocalText kAbsent{"%1 is not exported", "未导出函数%1"};
constexpr LocalText kIdentity{"exchange %1, type %2, sub-type %3", "市场 %1，类型 %2，子类型 %3"};

constexpr LocalText kStep{"quantity step", "数量步长"};
constexpr LocalText kMin{"smallest order", "单笔最小数量"};
constexpr LocalText kMax{"largest order", "单笔最大数量"};
constexpr LocalText kMaxWhen{"largest order when %1", "单笔最大数量（%1）"};
constexpr LocalText kMinSold{"smallest sale", "最小可卖数量"};
constexpr LocalText kPriceUnit{"price unit", "价格最小变动单位"};
constexpr LocalText kPrecision{"price decimals", "价格小数位"};
constexpr LocalText kDispFactor{"display factor", "数量显示系数"};

constexpr LocalText kLotSize{"lot size of the security", "证券自身的每手数量"};
constexpr LocalText kSubType{"%1, sub-type %2", "%1，子类型 %2"};
constexpr LocalText kType{"%1, type %2", "%1，类型 %2"};
constexpr LocalText kAnySymbol{"%1, every security (*)", "%1，所有证券（*）"};
constexpr LocalText kBuiltIn{"built-in default", "内置默认值"};
constexpr LocalText kHongKongStep{"Hong Kong: the quantity step", "港股：等于数量步长"};
constexpr LocalText kHongKongMax{"Hong Kong: 3000 steps, at most 99999999",
                                 "港股：3000倍步长，不超过99999999"};
constexpr LocalText kSubTypeFixed{"built in for sub-type %1", "内置规则，子类型 %1"};
constexpr LocalText kAtPrice{"at a price of %1", "按价格 %1"};
constexpr LocalText kUnclear{"unclear: the rules as read give %1", "无法判断：按读到的规则应为 %1"};

constexpr LocalText kCage{"price cage", "价格笼子"};
constexpr LocalText kNoCage{"no price cage covers this security", "该证券没有适用的价格笼子"};
constexpr LocalText kCageUnread{"the price cage was not loaded within %1 s; it is left out below",
                                "价格笼子在%1秒内未加载完成，以下内容不含价格笼子"};
constexpr LocalText kCageClass{"cage %1, class %2", "笼子 %1，证券类别 %2"};
constexpr LocalText kBuyFigures{"buy limit", "买入幅度"};
constexpr LocalText kSellFigures{"sell limit", "卖出幅度"};
constexpr LocalText kFigures{"%1 % or %2 price units", "%1%或%2个价位"};
constexpr LocalText kControl{"which limit counts", "生效方式"};
constexpr LocalText kControlShare{"the percentage", "按比例"};
constexpr LocalText kControlUnits{"the price units", "按价位数"};
constexpr LocalText kControlWider{"the wider of the two", "取较宽者"};
constexpr LocalText kControlOther{"unknown: 0 for buying, the wider of the two for selling",
                                  "未知方式：买入为0，卖出取较宽者"};
constexpr LocalText kCageUnit{"price unit of the cage", "笼子价位单位"};
constexpr LocalText kCageDecimals{"%1 decimals of a price; orders step by %2 at %3",
                                  "价格%1位小数；价格 %3 时委托最小变动单位为 %2"};
constexpr LocalText kStandardFigures{"as the server's default", "与后台默认一致"};
constexpr LocalText kUserFigures{"the user's own; the server's default is %1",
                                 "用户自定义，后台默认为 %1"};
constexpr LocalText kFiguresAlone{"the user's own or built-in; the server has no default",
                                  "用户自定义或内置，无后台默认可比"};
constexpr LocalText kTables{"cage tables", "笼子参数表"};
constexpr LocalText kTablesUser{"the user's own, or merged with the defaults",
                                "用户设置，或与默认设置合并"};
constexpr LocalText kSwitches{"switched on for", "已启用功能"};
constexpr LocalText kNowhere{"nothing", "无"};

constexpr LocalText kTickOfFeed{"tick of the feed, %1, phase %2", "行情推送 %1，交易阶段 %2"};
constexpr LocalText kTickOfRecord{"no tick received; prices of the security's record are used",
                                  "未收到行情，以证券档案中的价格代替"};
constexpr LocalText kNotContinuous{
    "the cage applies in continuous trading (phase 3) only; the limits below assume that phase",
    "价格笼子仅在连续竞价（阶段3）生效，以下限价按连续竞价计算"};
constexpr LocalText kBuyLimit{"cage: buy at most", "笼子：最高买入价"};
constexpr LocalText kSellLimit{"cage: sell at least", "笼子：最低卖出价"};
constexpr LocalText kBase{"base price %1 (%2)", "基准价 %1（%2）"};
constexpr LocalText kNoBase{"no base price", "无基准价"};
constexpr LocalText kNoUpperLimit{"no upper limit", "无上限"};
constexpr LocalText kDayLimits{"limits of the day", "涨跌停价"};

}  // namespace RulesTexts
