#include "menus_command.h"

#include <QJsonArray>
#include <QtTest>
#include <limits>

#include "facade_recorder.h"
#include "vocabulary/fields.h"

namespace {

constexpr int kWide = std::numeric_limits<int>::max();

QVariantMap menu(const QString& id, const QString& caption, const QString& position = {}) {
    return {{UserAccount::menuId, id},
            {UserAccount::menuCaption, caption},
            {UserAccount::menuPosition, position}};
}

/// Answers about captions, the user's menus and the plug-ins of an id.
class Menus final : public FacadeRecorder {
public:
    QStringList ofUser{"M1"};
    QMap<QString, QJsonArray> plugins;

protected:
    void reply(const QString& name, const QStringList& arguments, QJsonObject* answer) override {
        const QString& id = arguments.first();
        if (name == "GetMenuNameByMenuId") {
            answer->insert("result", id == "M1" ? "交易" : "");
        } else if (name == "IsUserHasMenuId") {
            answer->insert("result", ofUser.contains(id));
        } else if (name == "GetMenuInfoListByPluginID") {
            answer->insert("result", plugins.value(id));
        }
    }
};

QJsonObject plugin(const QString& menuId, const QString& instance) {
    return {{"pluginId", "P"},
            {"menuId", menuId},
            {"pluginInstanceId", instance},
            {"containerId", ""},
            {"menuScreenWidth", 1200},
            {"menuScreenHeight", 800},
            {"customProperty", QJsonObject{{"tab", 2}}}};
}

}  // namespace

class MenusCommandTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() {
        QString error;
        QVERIFY2(m_library.load(facadeLibraryFile(), &error), qPrintable(error));
    }
    void init() { m_menus = std::make_unique<Menus>(); }

    void tree_menuOfTheUser_hasItsPluginsBelow() {
        m_menus->plugins["P"] = {plugin("M1", "7"), plugin("M1", "8")};
        const CommandAnswer answer =
            tree({{menu("M1", "x"), menu("M2", "风控")},
                  {menu("M1", "x",
                        R"([{"pluginId":"P","menuId":"M1"},{"pluginId":"P","menuId":"M1"}])")}});
        QCOMPARE(answer.lines, (QStringList{"[x] M1  交易",
                                            "      plug-in P, instance 7, 1200 x 800, {\"tab\":2}",
                                            "      plug-in P, instance 8, 1200 x 800, {\"tab\":2}",
                                            "[ ] M2  风控", "2 menus, the user has 1 [x]"}));
        QVERIFY(!answer.isFault);
        const QJsonObject first = answer.json.toArray().first().toObject();
        QVERIFY(first.value("ofUser").toBool());
        QCOMPARE(first.value("plugins").toArray().size(), 2);
        QCOMPARE(m_menus->calls.count("GetMenuInfoListByPluginID"), 1);
    }

    void tree_descriptionThatCannotBeUsed_isNoted_data() {
        QTest::addColumn<QString>("position");
        QTest::addColumn<QString>("note");
        QTest::newRow("no JSON") << "{x"
                                 << "its description is not JSON";
        QTest::newRow("no ids") << R"({"pluginId":"P"})"
                                << "without menuId and pluginId: 1";
        QTest::newRow("numbers") << "[1,2]"
                                 << "without menuId and pluginId: 2";
        QTest::newRow("same instance") << R"([{"pluginId":"P","menuId":"M1"}])"
                                       << "1 plug-in described, 0 in use";
    }
    void tree_descriptionThatCannotBeUsed_isNoted() {
        QFETCH(QString, position);
        QFETCH(QString, note);
        const CommandAnswer answer = tree({{}, {menu("M1", "x", position)}});
        QCOMPARE(answer.lines.filter("note: ").filter(note).size(), 1);
        QCOMPARE(answer.lines.first(), QString("[x] M1  交易"));
    }

    void tree_pluginThatDiffersAboutTheUser_isAFault() {
        m_menus->ofUser.clear();
        QVERIFY(tree({{}, {menu("M1", "x")}}).isFault);
        m_menus->ofUser = QStringList("M2");
        const CommandAnswer answer = tree({{menu("M2", "x")}, {}});
        QVERIFY(answer.isFault);
        QCOMPARE(answer.lines.filter("the server does not").size(), 1);
    }

    void tree_descriptionOfAnotherMenu_isListedUnderThatMenu() {
        m_menus->plugins["P"] = {plugin("M9", "7")};
        const CommandAnswer answer =
            tree({{}, {menu("M1", "x", R"({"pluginId":"P","menuId":"M9"})")}});
        const int at = answer.lines.indexOf("[ ] M9  ");
        QVERIFY2(at > 0, qPrintable(answer.lines.join('\n')));
        QVERIFY(answer.lines.at(at + 1).startsWith("      plug-in P, instance 7"));
        QVERIFY(answer.lines.at(at + 2).contains("only named in a description"));
    }

    void tree_menuBelowAnother_isIndented() {
        const CommandAnswer answer =
            tree({{menu("a.b.c", "z"), menu("a", "x"), menu("a.b", "y"), menu("ab", "w")}, {}});
        QCOMPARE(answer.lines.mid(0, 4),
                 (QStringList{"[ ] a  x", "    [ ] a.b  y", "        [ ] a.b.c  z", "[ ] ab  w"}));
    }

    void tree_narrowTerminal_isCut() {
        for (const QString& line : tree({{menu("M2", QString(200, 'x'))}, {}}, 40).lines) {
            QVERIFY(line.size() <= 40);
        }
    }

    void interrupt_isReported() {
        m_menus->interruptAfter = 1;
        QVERIFY(tree({{menu("M1", "x")}, {}}).interrupted);
    }

private:
    CommandAnswer tree(const MenusCommand::ServerRows& rows, int columns = kWide) {
        return MenusCommand(m_library, m_menus->function(), rows).tree(columns);
    }

    FacadeLibrary m_library;
    std::unique_ptr<Menus> m_menus;
};

QTEST_GUILESS_MAIN(MenusCommandTest)
#include "menus_command_test.moc"
