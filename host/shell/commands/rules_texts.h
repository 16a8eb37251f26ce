#pragma once

#include <QString>

enum class TextLanguage { English, Chinese };

/// One text of `rules explain`, in every language that it speaks.
struct RulesText {
    const char* english;
    const char* chinese;

    QString in(TextLanguage language) const {
        return QString::fromUtf8(language == TextLanguage::Chinese ? chinese : english);
    }
};

/// The language of a locale's name such as "zh_CN.UTF-8": Chinese when it begins with "zh".
TextLanguage languageOf(const QString& locale);
/// What the environment asks for: the first of LC_ALL, LC_MESSAGES and LANG that says anything.
TextLanguage languageOfEnvironment();

/// What stands before the numbers and where they are from. %1 and so on are filled by the command.
namespace RulesTexts {

constexpr RulesText kItem{"Rule", "规则"};
constexpr RulesText kValue{"Value", "值"};
constexpr RulesText kSource{"From", "来源"};

constexpr RulesText kUnknown{"no security is called '%1'", "没有证券代码'%1'"};
constexpr RulesText kAbsent{"%1 is not exported", "未导出函数%1"};
constexpr RulesText kIdentity{"exchange %1, type %2, sub-type %3", "市场 %1，类型 %2，子类型 %3"};

constexpr RulesText kStep{"quantity step", "数量步长"};
constexpr RulesText kMin{"smallest order", "单笔最小数量"};
constexpr RulesText kMax{"largest order", "单笔最大数量"};
constexpr RulesText kMaxWhen{"largest order when %1", "单笔最大数量（%1）"};
constexpr RulesText kMinSold{"smallest sale", "最小可卖数量"};
constexpr RulesText kPriceUnit{"price unit", "价格最小变动单位"};
constexpr RulesText kPrecision{"price decimals", "价格小数位"};
constexpr RulesText kDispFactor{"display factor", "数量显示系数"};

constexpr RulesText kLotSize{"lot size of the security", "证券自身的每手数量"};
constexpr RulesText kSubType{"%1, sub-type %2", "%1，子类型 %2"};
constexpr RulesText kType{"%1, type %2", "%1，类型 %2"};
constexpr RulesText kAnySymbol{"%1, every security (*)", "%1，所有证券（*）"};
constexpr RulesText kBuiltIn{"built-in default", "内置默认值"};
constexpr RulesText kHongKongStep{"Hong Kong: the quantity step", "港股：等于数量步长"};
constexpr RulesText kHongKongMax{"Hong Kong: 3000 steps, at most 99999999",
                                 "港股：3000倍步长，不超过99999999"};
constexpr RulesText kSubTypeFixed{"built in for sub-type %1", "内置规则，子类型 %1"};
constexpr RulesText kAtPrice{"at a price of %1", "按价格 %1"};
constexpr RulesText kUntold{"cannot be told: the rules as read give %1",
                            "无法判断：按读到的规则应为 %1"};

constexpr RulesText kCage{"price cage", "价格笼子"};
constexpr RulesText kNoCage{"no price cage covers this security", "该证券没有适用的价格笼子"};
constexpr RulesText kCageUnread{
    "the price cage was not loaded within %1 s; what follows is without it",
    "价格笼子在%1秒内未加载完成，以下内容不含价格笼子"};
constexpr RulesText kCageClass{"cage %1, class %2", "笼子 %1，证券类别 %2"};
constexpr RulesText kBuyFigures{"buying: share and price units", "买入：比例与价位数"};
constexpr RulesText kSellFigures{"selling: share and price units", "卖出：比例与价位数"};
constexpr RulesText kControl{"which of the two counts", "生效方式"};
constexpr RulesText kControlShare{"the share", "按比例"};
constexpr RulesText kControlUnits{"the price units", "按价位数"};
constexpr RulesText kControlWider{"the wider one", "取较宽者"};
constexpr RulesText kControlOther{"unknown kind: buying 0, selling the wider one",
                                  "未知方式：买入为0，卖出取较宽者"};
constexpr RulesText kStandardFigures{"as the server's default", "与后台默认一致"};
constexpr RulesText kUserFigures{"the user's own; the server's default is %1",
                                 "用户自定义，后台默认为 %1"};
constexpr RulesText kFiguresAlone{"the user's own or built-in, no server's default beside it",
                                  "用户自定义或内置，无后台默认可比"};
constexpr RulesText kTables{"cage tables", "笼子参数表"};
constexpr RulesText kTablesUser{"the user's own, or united with the defaults",
                                "用户设置，或与默认设置合并"};
constexpr RulesText kSwitches{"switched on for", "已启用功能"};
constexpr RulesText kNowhere{"nothing", "无"};

constexpr RulesText kTickOfFeed{"tick of the feed, %1, phase %2", "行情推送 %1，交易阶段 %2"};
constexpr RulesText kTickOfRecord{"no tick came; figures of the security's record stand for one",
                                  "未收到行情，以证券档案中的价格代替"};
constexpr RulesText kNotContinuous{
    "the cage acts in continuous trading (phase 3) only; its limits are told as if it were that",
    "价格笼子仅在连续竞价（阶段3）生效，以下限价按连续竞价计算"};
constexpr RulesText kBuyLimit{"cage: buy at most", "笼子：最高买入价"};
constexpr RulesText kSellLimit{"cage: sell at least", "笼子：最低卖出价"};
constexpr RulesText kBase{"base price %1 (%2)", "基准价 %1（%2）"};
constexpr RulesText kNoBase{"no base price", "无基准价"};
constexpr RulesText kNoUpperLimit{"no upper limit", "无上限"};
constexpr RulesText kDayLimits{"limits of the day", "涨跌停价"};

}  // namespace RulesTexts
