#include "account_table.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <QHash>
#include <cstdio>
#include <limits>

#include "authority_letters.h"
#include "text_table.h"
#include "velmar_business_data_interface.h"
#include "vocabulary/values.h"

namespace {

constexpr int kAnyAuthority = 0;
constexpr int kAllRows = std::numeric_limits<int>::max();

/// How many accounts are printed: NEIGHBOUR_ROWS of the environment, a number or "all", or a few.
int rowsToPrint() {
    constexpr int kFew = 20;
    const QString wanted = qEnvironmentVariable("NEIGHBOUR_ROWS");
    if (wanted == QLatin1String("all")) {
        return kAllRows;
    }
    bool ok = false;
    const int rows = wanted.toInt(&ok);
    return ok && rows >= 0 ? rows : kFew;
}

/// The columns of the terminal on stdout; no limit for a file or a pipe.
int columnsOfStdout() {
    winsize size{};
    const bool isTerminal = ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return isTerminal ? size.ws_col : std::numeric_limits<int>::max();
}

QString typeText(const QString& fundAccountType) {
    static const QHash<QString, QString> texts{
        {FundAccountType::Cash, QStringLiteral("现货")},
        {FundAccountType::Credit, QStringLiteral("信用")},
        {FundAccountType::Option, QStringLiteral("期权")},
        {FundAccountType::Future, QStringLiteral("期货")},
        {FundAccountType::Metal, QStringLiteral("贵金属")},
    };
    return texts.value(fundAccountType, fundAccountType);
}

TextTable tableOf(const QList<tagUserAccountInfo>& accounts) {
    TextTable table({"Account", "Name", "Product", "Fund account", "Type", "Counter", "May"});
    for (const tagUserAccountInfo& account : accounts) {
        table.addRow({account.tradingAccount, account.accountName, account.productName,
                      account.fundAccount, typeText(account.fundAccountType),
                      account.counterSiteType == 0 ? "central" : "distributed",
                      authorityLetters(account.authorityFlags)});
    }
    return table;
}

void print(const QString& line) {
    std::printf("%s\n", line.toUtf8().constData());
}

}  // namespace

void printAccountTable() {
    using Data = VelmarBusinessDataInterface;
    // `true` waits for the load, so this works however early the host creates the plug-in object.
    const QList<tagUserAccountInfo> accounts = Data::GetFundAccountList(true, kAnyAuthority, true);
    const int distributed = Data::GetDistributedAccountList().size();
    const int products = Data::GetAllProductAccountMap().size();
    const int tradable = Data::GetAuthTradeProductAccountList().size();

    const int shown = qMin(rowsToPrint(), accounts.size());
    for (const QString& line : tableOf(accounts.mid(0, shown)).lines(columnsOfStdout())) {
        print(line);
    }
    if (shown < accounts.size()) {
        print(QStringLiteral("... %1 more (NEIGHBOUR_ROWS=all shows them)")
                  .arg(accounts.size() - shown));
    }
    print(authorityLegend());
    print(QStringLiteral("%1 accounts that are not frozen, %2 tradable ones on a distributed "
                         "counter; %3 products, %4 of them tradable")
              .arg(accounts.size())
              .arg(distributed)
              .arg(products)
              .arg(tradable));
    std::fflush(stdout);
}
