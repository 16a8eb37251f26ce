#include "market_names.h"

#include <QStringList>

namespace {

const QString kPrefix = QStringLiteral("虚");

const QString& stems() {
    static const QString characters = QStringLiteral("岚澄霁珩翊棠沅漪璟湜枫昀瑄楹筠皓旻朔泓砚");
    return characters;
}

/// All pairs of a stem and a tail in turn, then with a number.
QString numbered(const QStringList& tails, int number) {
    const int pairs = stems().size() * tails.size();
    const int stem = number % stems().size();
    const int step = number % pairs / stems().size();
    const QString name = kPrefix + stems().at(stem) + tails.at((stem + step) % tails.size());
    return number < pairs ? name : name + QString::number(number / pairs + 1);
}

}  // namespace

namespace MarketNames {

QString company(int number) {
    static const QStringList tails{
        QStringLiteral("科技"), QStringLiteral("药业"), QStringLiteral("能源"),
        QStringLiteral("电子"), QStringLiteral("重工"), QStringLiteral("食品"),
        QStringLiteral("材料"), QStringLiteral("银行"), QStringLiteral("证券"),
        QStringLiteral("传媒"), QStringLiteral("物流"), QStringLiteral("软件"),
        QStringLiteral("航空"), QStringLiteral("化工"), QStringLiteral("电力"),
        QStringLiteral("汽车"), QStringLiteral("环保"), QStringLiteral("生物"),
        QStringLiteral("智能"), QStringLiteral("置业"), QStringLiteral("纺织"),
        QStringLiteral("矿业"), QStringLiteral("光电"), QStringLiteral("通信"),
        QStringLiteral("港口")};
    return numbered(tails, number);
}

QString investor(int number) {
    static const QStringList tails{QStringLiteral("资产管理"), QStringLiteral("基金管理"),
                                   QStringLiteral("保险资管"), QStringLiteral("信托"),
                                   QStringLiteral("理财")};
    return numbered(tails, number);
}

QString product(int number) {
    static const QStringList styles{QStringLiteral("稳健"), QStringLiteral("成长"),
                                    QStringLiteral("量化"), QStringLiteral("价值"),
                                    QStringLiteral("均衡"), QStringLiteral("红利"),
                                    QStringLiteral("对冲")};
    return QStringLiteral("%1%2号").arg(styles.at(number % styles.size())).arg(number + 1);
}

QString fund(int number) {
    static const QStringList tails{
        QStringLiteral("三百ETF"), QStringLiteral("科创ETF"), QStringLiteral("红利ETF"),
        QStringLiteral("医药ETF"), QStringLiteral("国债ETF"), QStringLiteral("黄金ETF"),
        QStringLiteral("恒指ETF"), QStringLiteral("货币ETF"), QStringLiteral("芯片ETF")};
    return numbered(tails, number);
}

QString bondIssuer(int number) {
    return kPrefix + stems().at(number % stems().size());
}

}  // namespace MarketNames
