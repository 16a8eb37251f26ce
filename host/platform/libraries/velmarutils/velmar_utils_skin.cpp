#include <QCoreApplication>
#include <QVariant>

#include "thread_hand_over.h"
#include "velmarutils/velmar_utils.h"

void VelmarUtils::ResetSkin() {
    QCoreApplication* application = QCoreApplication::instance();
    constexpr const char* kStyleSheet = "styleSheet";
    // An application with windows keeps its skin in this property; setting it to its own value
    // restyles every window. An application without windows has no such property.
    if (!application || application->metaObject()->indexOfProperty(kStyleSheet) < 0) {
        return;
    }
    runOnThreadOf(application, [application]() {
        application->setProperty(kStyleSheet, application->property(kStyleSheet));
    });
}
