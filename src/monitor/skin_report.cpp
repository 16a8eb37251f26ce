#include "skin_report.h"

#include "client_info_buffer.h"
#include "log.h"
#include "vocabulary/values.h"
#include "zncore/zn_core.h"

void uploadSkinChangeInfo(ClientInfoSink& sink) {
    static const QString kInitState = QStringLiteral("skinInitState");
    const QVariant isDue = ZnCore::instance()->settings(kInitState);
    const QString skin = ZnCore::instance()->getCurrentSkinId();
    qCDebug(lcMonitor) << "ZnBusinessDataManager::uploadSkinChangeInfo" << isDue << skin;
    if (isDue.isValid() && !isDue.toBool()) {
        return;
    }
    const bool isWhite = skin.toLower() == QLatin1String("white");
    sink.collectClientInfo(clientInfoItem(ClinetInfoUpload::SystemButtomClicked,
                                          QStringLiteral("ZNApp.Frame.MainFrame"),
                                          SystemButtonName::skinBtn, isWhite ? 1 : 0, QTime(), 0));
    ZnCore::instance()->saveSetting(kInitState, false);
}
