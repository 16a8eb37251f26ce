#pragma once

#include <QString>

/// Invented Chinese names, the same for a number always and different for every number. Each begins
/// with 虚 ("made up"), which no listed company does.
namespace MarketNames {

QString company(int number);     ///< short name of a listed company
QString investor(int number);    ///< name of an asset manager
QString product(int number);     ///< name of a product, without its investor's
QString fund(int number);        ///< short name of a fund
QString bondIssuer(int number);  ///< two characters in front of a bond's serial

}  // namespace MarketNames
