#pragma once

#include <QString>

/// Invented Chinese names, always the same for a number and different for each number. Each begins
/// with 虚 ("made up"), unlike the name of any listed company.
namespace MarketNames {

QString company(int number);     ///< short name of a listed company
QString investor(int number);    ///< name of an asset manager
QString product(int number);     ///< name of a product, without its investor's
QString fund(int number);        ///< short name of a fund
QString bondIssuer(int number);  ///< two characters before a bond's serial number

}  // namespace MarketNames
