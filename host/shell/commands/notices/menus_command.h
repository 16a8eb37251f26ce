#pragma once

#include <QList>
#include <QMap>
#include <QVariantMap>

#include "command_answer.h"
#include "facade_questions.h"

/// Lists the menus with the plug-ins behind them. Captions, the user's menus and the plug-ins are
/// those of the exported functions, which answer by id; the server's rows say which ids to ask
/// for. For one thread.
class MenusCommand {
public:
    struct ServerRows {
        QList<QVariantMap> allMenus;
        QList<QVariantMap> userMenus;  ///< with their positions, which describe the plug-ins
    };

    MenusCommand(const FacadeLibrary& library, const FacadeAsk& ask, const ServerRows& rows);

    CommandAnswer tree(int columns);

private:
    struct Menu {
        QString caption;  ///< of the server
        bool isOfUser = false;
        QStringList notes;
    };

    void addMenus(const QList<QVariantMap>& rows, bool ofUser);
    void readPosition(const QVariantMap& row);

    FacadeQuestions m_facade;
    QMap<QString, Menu> m_menus;
    QStringList m_pluginIds;
    QMap<QString, int> m_described;  ///< plug-ins that the positions describe, by menu id
};
