#include "scenario_parser.h"

#include <QTextCodec>
#include <algorithm>
#include <iterator>
#include <utility>

#include "scenario_steps.h"

namespace {

constexpr int kMostBytes = 1024 * 1024;
constexpr int kMostLineLetters = 8192;
constexpr int kMostSteps = 2000;
constexpr int kMostSections = 16;
constexpr int kMostMarket = 1000000;
constexpr int kMostTicks = 1000;

/// Reads a file line by line and tracks which steps may come next.
class Parser {
public:
    explicit Parser(Scenario* scenario) : m_scenario(scenario) { newSection(1); }

    bool readLine(const QString& line, int number, LineError* error) {
        QVector<LineWord> words;
        if (line.size() > kMostLineLetters) {
            return failAt(kMostLineLetters + 1,
                          QStringLiteral("the line is longer than %1").arg(kMostLineLetters),
                          error);
        }
        if (!readLineWords(line, &words, error)) {
            return false;
        }
        return words.isEmpty() || readDirective(line, number, words, error);
    }

    bool end(LineError* error) const {
        return m_stage != Stage::Before ||
               failAt(1,
                      QStringLiteral("the section that begins in line %1 has no start")
                          .arg(m_scenario->sections.last().line),
                      error);
    }

private:
    enum class Stage { Before, Loading, Running, Over };

    void newSection(int line) {
        m_scenario->sections.append(ScenarioSection{line, {}});
        m_stage = Stage::Before;
    }

    bool readDirective(const QString& line, int number, const QVector<LineWord>& words,
                       LineError* error) {
        if (words.first().key.isEmpty() && words.first().text == QLatin1String("market")) {
            return readMarket(words, error);
        }
        if (words.first().key.isEmpty() && words.first().text == QLatin1String("restart")) {
            return restart(number, words, error);
        }
        ScenarioStep step;
        step.line = number;
        step.text = line.trimmed();
        if (!readScenarioStep(words, &step, error) || !fits(step, words.first().column, error)) {
            return false;
        }
        if (++m_steps > kMostSteps) {
            return failAt(1, QStringLiteral("more than %1 steps").arg(kMostSteps), error);
        }
        m_scenario->sections.last().steps.append(step);
        return true;
    }

    bool readMarket(const QVector<LineWord>& words, LineError* error) {
        if (m_hasMarket || m_scenario->sections.size() > 1 || m_stage != Stage::Before) {
            return failAt(words.first().column,
                          QStringLiteral("market may appear once, before the first start"), error);
        }
        m_hasMarket = true;
        for (int i = 1; i < words.size(); ++i) {
            const LineWord& word = words.at(i);
            int number = 0;
            const bool known =
                word.op == QLatin1String("=") &&
                QStringList{"accounts", "seed", "symbols", "ticks"}.contains(word.key);
            if (!known) {
                return failAt(word.column,
                              QStringLiteral("market takes accounts= seed= symbols= ticks="),
                              error);
            }
            const bool isTicks = word.key == QLatin1String("ticks");
            const int least = isTicks || word.key == QLatin1String("seed") ? 0 : 1;
            const int most = isTicks ? kMostTicks : kMostMarket;
            if (!readWholeNumber(word.text, least, most, &number)) {
                return failAt(word.valueColumn,
                              QStringLiteral("%1 takes a number from %2 to %3")
                                  .arg(word.key)
                                  .arg(least)
                                  .arg(most),
                              error);
            }
            if (isTicks) {
                m_scenario->ticksPerSecond = number;
            } else if (word.key == QLatin1String("accounts")) {
                m_scenario->market.accounts = number;
            } else if (word.key == QLatin1String("symbols")) {
                m_scenario->market.symbols = number;
            } else {
                m_scenario->market.seed = static_cast<quint32>(number);
            }
        }
        return true;
    }

    bool restart(int line, const QVector<LineWord>& words, LineError* error) {
        if (words.size() > 1) {
            return failAt(words.at(1).column, QStringLiteral("restart takes no words"), error);
        }
        if (m_scenario->sections.size() >= kMostSections) {
            return failAt(words.first().column,
                          QStringLiteral("more than %1 sections").arg(kMostSections), error);
        }
        if (!end(error)) {
            return false;
        }
        newSection(line);
        return true;
    }

    /// Whether the step is allowed here; moves on to the stage that it leads to.
    bool fits(const ScenarioStep& step, int column, LineError* error) {
        using Kind = ScenarioStep::Kind;
        const bool begun = m_stage != Stage::Before;
        switch (step.kind) {
            case Kind::Fault:
            case Kind::ClearFaults:
            case Kind::ClockSet:
                return true;
            case Kind::Setting:
                return !begun ||
                       failAt(column, QStringLiteral("settings go before the start"), error);
            case Kind::Start:
            case Kind::Begin:
            case Kind::StartFails:
                if (begun) {
                    return failAt(column,
                                  QStringLiteral("already started; use restart for another start"),
                                  error);
                }
                m_stage = step.kind == Kind::Start   ? Stage::Running
                          : step.kind == Kind::Begin ? Stage::Loading
                                                     : Stage::Over;
                return true;
            case Kind::Ready:
                if (m_stage != Stage::Loading) {
                    return failAt(column, QStringLiteral("ready goes after 'start nowait'"), error);
                }
                m_stage = Stage::Running;
                return true;
            case Kind::Expect:
                // A failed start may leave something to check.
                return begun || failAt(column, QStringLiteral("nothing is started yet"), error);
            default:
                return (m_stage == Stage::Loading || m_stage == Stage::Running) ||
                       failAt(column, QStringLiteral("no client is running here"), error);
        }
    }

    Scenario* const m_scenario;
    Stage m_stage = Stage::Before;
    bool m_hasMarket = false;
    int m_steps = 0;
};

/// Decodes a line; invalid UTF-8 and control characters are errors with their column.
bool decode(const QByteArray& bytes, QString* line, LineError* error) {
    static QTextCodec* const utf8 = QTextCodec::codecForName("UTF-8");
    QTextCodec::ConverterState state;
    *line = utf8->toUnicode(bytes.constData(), bytes.size(), &state);
    if (state.invalidChars > 0 || state.remainingChars > 0) {
        const int place = line->indexOf(QChar(QChar::ReplacementCharacter));
        return failAt(place < 0 ? line->size() + 1 : place + 1, QStringLiteral("invalid UTF-8"),
                      error);
    }
    const auto control = std::find_if(line->cbegin(), line->cend(), [](QChar letter) {
        return letter.category() == QChar::Other_Control && letter != QLatin1Char('\t');
    });
    return control == line->cend() ||
           failAt(static_cast<int>(std::distance(line->cbegin(), control)) + 1,
                  QStringLiteral("a control character"), error);
}

bool parseLines(const QByteArray& text, Parser& parser, int* number, LineError* error) {
    if (text.size() > kMostBytes) {
        return failAt(1, QStringLiteral("the file is larger than %1 bytes").arg(kMostBytes), error);
    }
    for (int begin = 0; begin < text.size(); ++*number) {
        const int found = text.indexOf('\n', begin);
        const int end = found < 0 ? text.size() : found;
        QByteArray bytes = text.mid(begin, end - begin);
        if (bytes.endsWith('\r')) {
            bytes.chop(1);
        }
        QString line;
        if (!decode(bytes, &line, error) || !parser.readLine(line, *number, error)) {
            return false;
        }
        begin = end + 1;
    }
    return parser.end(error);
}

}  // namespace

bool parseScenario(const QString& fileName, const QByteArray& text, Scenario* out, QString* error) {
    Scenario scenario;
    scenario.fileName = fileName;
    Parser parser(&scenario);
    LineError wrong;
    int line = 1;
    if (!parseLines(text, parser, &line, &wrong)) {
        *error =
            QStringLiteral("%1:%2:%3: %4")
                .arg(fileName, QString::number(line), QString::number(wrong.column), wrong.text);
        return false;
    }
    *out = scenario;
    error->clear();
    return true;
}
