#pragma once

#include <QDate>
#include <QList>
#include <QStringList>
#include <QVariantMap>

class HeldProductRows;
class ZnPresenterClass;
struct ProductReportFacts;

/// The rows of the products for a day: those that are held first, then the others, requested one
/// product after the other. A product named twice counts once. Rows without a product are
/// returned but not held. Blocks for its requests.
QList<QVariantMap> queryProducts(ZnPresenterClass* presenter, const ProductReportFacts& report,
                                 HeldProductRows& held, const QStringList& products,
                                 const QDate& date);
