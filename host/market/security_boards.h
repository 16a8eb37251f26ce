#pragma once

#include <QString>
#include <QVector>
#include <functional>

/// A board: what its securities have in common, and how they are numbered.
struct SecurityBoard {
    int share;  ///< securities of the standard market, see kStandardSymbols
    int least;  ///< so many are there in every market that has room for them
    int limit;  ///< how many ids the numbering has
    QString exchange;
    QString post;
    QString type;
    QString subType;
    std::function<QString(int)> securityId;
    std::function<QString(int)> name;
    double tick;  ///< 0 where it follows the price
    double lowPrice;
    double highPrice;
};

/// Sum of the boards' shares.
constexpr int kStandardSymbols = 12000;

/// Kinds that no group of the vocabulary names.
namespace BoardKind {
inline const QString mainBoard = QStringLiteral("02001");
inline const QString treasuryBond = QStringLiteral("03100");
inline const QString corporateBond = QStringLiteral("03400");
inline const QString stockOption = QStringLiteral("06100");
inline const QString future = QStringLiteral("05100");
inline const QString gold = QStringLiteral("09100");
}  // namespace BoardKind

/// Suffixes of symbols beside those of the vocabulary.
inline const QString kBeijingPost = QStringLiteral("BJ");
inline const QString kGoldPost = QStringLiteral("SGE");

/// New shares are no securities yet; the boards leave so many ids from these on to them.
constexpr int kNewSharesShanghai = 603901;
constexpr int kNewSharesShenzhen = 301901;
constexpr int kNewShareIds = 99;
/// Names of companies are dealt out in turn, to the boards of shares and to new shares last.
constexpr int kCompanyTurns = 8;

/// All boards, in the order in which their securities stand.
QVector<SecurityBoard> securityBoards();
