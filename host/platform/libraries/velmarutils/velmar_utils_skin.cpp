#include <QCoreApplication>
#include <QVariant>

#include "thread_hand_over.h"
#include "velmarutils/velmar_utils.h"

void VelmarUtils::ResetSkin() {
    QCoreApplication* application = QCoreApplication::instance();
    constexpr const char* kStyleSheet = "styleSheet";
    // An application with windows has its skin in this property, and setting it to what it is
    // polishes every window anew. One without windows has neither.
    if (!application || application->metaObject()->indexOfProperty(kStyleSheet) < 0) {
        return;
    }
    runOnThreadOf(application, [application]() {
        application->setProperty(kStyleSheet, application->property(kStyleSheet));
    });
}
