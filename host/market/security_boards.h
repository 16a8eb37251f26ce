#pragma once

#include <QString>
#include <QVector>
#include <functional>

/// A board: what its securities have in common, and how they are numbered.
struct SecurityBoard {
    int share;  ///< number of securities in the standard market, see kStandardSymbols
    int least;  ///< number of securities in a small market, if its size allows that many
    int limit;  ///< number of ids in the numbering
    QString exchange;
    QString post;
    QString type;
    QString subType;
    std::function<QString(int)> securityId;
    std::function<QString(int)> name;
    double tick;  ///< 0 when it depends on the price
    double lowPrice;
    double highPrice;
};

/// Sum of the boards' shares.
constexpr int kStandardSymbols = 12000;

/// Sub-types that the vocabulary does not name.
namespace BoardKind {
inline const QString mainBoard = QStringLiteral("02001");
inline const QString treasuryBond = QStringLiteral("03100");
inline const QString corporateBond = QStringLiteral("03400");
inline const QString stockOption = QStringLiteral("06100");
inline const QString commodityFuture = QStringLiteral("05100");
inline const QString indexFuture = QStringLiteral("05200");
inline const QString gold = QStringLiteral("09100");
}  // namespace BoardKind

/// Suffixes of symbols that the vocabulary does not name.
inline const QString kBeijingPost = QStringLiteral("BJ");
inline const QString kGoldPost = QStringLiteral("SGE");

/// New issues are not securities yet; the boards leave these ids to them.
constexpr int kNewSharesShanghai = 603901;
constexpr int kNewSharesShenzhen = 301901;
constexpr int kNewShareIds = 99;
/// Names of companies are taken in turn by the boards of shares and, last, by the new issues.
constexpr int kCompanyTurns = 8;

/// All boards, in the order of the securities.
QVector<SecurityBoard> securityBoards();
