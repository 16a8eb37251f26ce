#include "order_arbitration.h"

bool canOrderUpdate(const QVariantMap&, const QVariantMap&) {
    return false;
}
