#pragma once

#include <QString>

/// Where the product comes from under which a row is held.
enum class HeldUnder {
    OwnProduct,    ///< the row's field
    AnswerProduct  ///< the header's field; the row's becomes the product of the request
};

/// What distinguishes one product report from the others.
struct ProductReportFacts {
    QString function;
    QString msgType;
    QString productField;
    QString dayField;
    QString dayFormat;  ///< of the request's field and of the table's key
    bool isPaged = true;
    bool announcesRequests = false;  ///< whether each product is logged before its request
    HeldUnder heldUnder = HeldUnder::OwnProduct;
};

const ProductReportFacts& appraisement();
const ProductReportFacts& appraisementProfit();
const ProductReportFacts& panfenFlow();
