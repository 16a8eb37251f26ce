#include "facade_library.h"

#include <QLibrary>
#include <algorithm>
#include <numeric>
#include <utility>
#include <vector>

namespace {

constexpr int kMostSuggestions = 5;

/// The number of letters to change, add or remove to turn one text into the other.
int editDistance(const QString& from, const QString& to) {
    std::vector<int> row(static_cast<std::size_t>(to.size()) + 1);
    std::iota(row.begin(), row.end(), 0);
    for (int i = 0; i < from.size(); ++i) {
        int diagonal = std::exchange(row[0], i + 1);
        for (std::size_t j = 1; j < row.size(); ++j) {
            const bool same = from.at(i) == to.at(static_cast<int>(j) - 1);
            const int changed = diagonal + (same ? 0 : 1);
            diagonal = row[j];
            row[j] = std::min({changed, row[j] + 1, row[j - 1] + 1});
        }
    }
    return row.back();
}

struct FlagWord {
    unsigned flag;
    const char* word;
    const char* explanation;
};

constexpr FlagWord kReachWords[] = {
    {FacadeFirstLoad, "first load", "initialises the plug-in first if that has not happened yet"},
    {FacadePresenter, "presenter",
     "without a presenter, returns an empty, false or zero result at once "
     "(updateUserCageInfo: the reason)"},
    {FacadeWaits, "waits", "may wait for the account table"},
};

constexpr char kPlainReach[] = "plain";

constexpr FlagWord kNeedsWords[] = {
    {FacadeAccounts, "accounts", "the account table, which the start-up loads first"},
    {FacadeHongKong, "HK prices", "Hong Kong rates and price ladders, loaded after the accounts"},
    {FacadeCage, "cage", "the price cage, loaded after the Hong Kong prices"},
    {FacadeSecurities, "securities", "the securities of the static database"},
    {FacadeServer, "server", "requests that the call itself sends"},
    {FacadePositions, "positions",
     "positions of the neighbouring data plug-in, and ticks for their prices"},
    {FacadeExecutions, "executions", "executions of the neighbouring data plug-in"},
    {FacadeMessages, "messages", "the business messages, which the start-up completes by a query"},
    {FacadeRisk, "risk", "the risk notices and types, which the start-up loads last"},
};

template <class Words>
QString flagText(unsigned flags, const Words& words, const char* none) {
    QStringList texts;
    for (const FlagWord& one : words) {
        if (flags & one.flag) {
            texts.append(QLatin1String(one.word));
        }
    }
    return texts.isEmpty() ? QLatin1String(none) : texts.join(QStringLiteral(", "));
}

template <class Words>
QStringList flagLines(unsigned flags, const Words& words, const char* title) {
    QStringList lines;
    for (const FlagWord& one : words) {
        if (flags & one.flag) {
            lines.append(QStringLiteral("    %1 %2: %3")
                             .arg(QLatin1String(title), QLatin1String(one.word),
                                  QLatin1String(one.explanation)));
        }
    }
    return lines;
}

QString needsText(unsigned needs) {
    return flagText(needs, kNeedsWords, "-");
}

QString reachText(unsigned reach) {
    return flagText(reach, kReachWords, kPlainReach);
}

/// What the words in the column of the reach mean.
QStringList reachLegend() {
    int width = 0;
    for (const FlagWord& one : kReachWords) {
        width = std::max(width, static_cast<int>(qstrlen(one.word)));
    }
    const auto line = [width](const char* word, const char* explanation) {
        return QStringLiteral("  %1  %2")
            .arg(QLatin1String(word), -width)
            .arg(QLatin1String(explanation));
    };
    QStringList lines{QStringLiteral("Reach:")};
    for (const FlagWord& one : kReachWords) {
        lines.append(line(one.word, one.explanation));
    }
    lines.append(line(kPlainReach, "none of these"));
    return lines;
}

QStringList explanationOf(const FacadeFunction& function) {
    QStringList lines{function.declaration()};
    lines += flagLines(function.needs, kNeedsWords, "depends on");
    lines += flagLines(function.reach, kReachWords, "reach:");
    const auto parameters = function.parameterList();
    for (const FacadeParameter& parameter : parameters) {
        QStringList about{parameter.type};
        if (parameter.isOut) {
            about.append(QStringLiteral("filled by the function, may be left out"));
        }
        if (!parameter.note.isEmpty()) {
            about.append(parameter.note);
        }
        if (!parameter.values.isEmpty()) {
            about.append(parameter.values.join(QStringLiteral(", ")));
        }
        lines.append(
            QStringLiteral("    %1: %2").arg(parameter.name, about.join(QStringLiteral("; "))));
    }
    QString result = QStringLiteral("    returns %1").arg(function.resultType());
    if (!function.resultNote().isEmpty()) {
        result += QStringLiteral("; ") + function.resultNote();
    }
    lines.append(result);
    return lines;
}

}  // namespace

QStringList closeNames(const QString& name, const QStringList& known) {
    const QString wanted = name.toLower();
    std::vector<std::pair<int, QString>> close;
    for (const QString& candidate : known) {
        const QString lower = candidate.toLower();
        // More than a few letters of a name are a good hint too.
        const bool isPart = wanted.size() > 3 && lower.contains(wanted);
        const int distance = isPart ? 1 : editDistance(wanted, lower);
        if (distance <= std::max(2, wanted.size() / 3)) {
            close.emplace_back(distance, candidate);
        }
    }
    std::sort(close.begin(), close.end());
    close.erase(std::unique(close.begin(), close.end()), close.end());
    QStringList names;
    for (const auto& entry : close) {
        if (names.size() < kMostSuggestions) {
            names.append(entry.second);
        }
    }
    return names;
}

bool FacadeLibrary::load(const QString& file, QString* error) {
    QLibrary library(file);
    library.setLoadHints(QLibrary::PreventUnloadHint);
    const auto accessor =
        reinterpret_cast<FacadeFunctionsAccessor>(library.resolve("velmarFacadeFunctions"));
    if (!accessor) {
        *error = QStringLiteral("cannot use the plug-in library %1: %2")
                     .arg(file, library.errorString());
        return false;
    }
    m_functions = accessor(&m_count);
    return true;
}

const FacadeFunction* FacadeLibrary::choose(const QString& name, const QStringList& arguments,
                                            QString* error) const {
    const FacadeFunction* const found =
        chooseFacadeFunction(m_functions, m_count, name, arguments, error);
    if (found) {
        return found;
    }
    const QString unknown = unknownText(name);
    if (!unknown.isEmpty()) {
        *error = unknown;
    }
    return nullptr;
}

bool FacadeLibrary::knowsValues(const FacadeFunction& function, const QStringList& arguments,
                                QString* error) {
    FacadeMisfit unknown;
    if (function.knowsValues(arguments, &unknown)) {
        return true;
    }
    *error = misfitText(function, unknown) + QStringLiteral("; --raw passes it anyway");
    return false;
}

/// Empty for a known name.
QString FacadeLibrary::unknownText(const QString& name) const {
    QStringList names;
    for (int i = 0; i < m_count; ++i) {
        names.append(QLatin1String(m_functions[i].name));
    }
    if (names.contains(name)) {
        return QString();
    }
    const QStringList close = closeNames(name, names);
    return QStringLiteral("no exported function is called %1").arg(name) +
           (close.isEmpty()
                ? QStringLiteral("; 'functions' lists them")
                : QStringLiteral("; similar names: %1").arg(close.join(QStringLiteral(", "))));
}

QVector<const FacadeFunction*> FacadeLibrary::named(const QString& name, QString* error) const {
    QVector<const FacadeFunction*> found;
    for (int i = 0; i < m_count; ++i) {
        if (name.isEmpty() || name == QLatin1String(m_functions[i].name)) {
            found.append(&m_functions[i]);
        }
    }
    if (found.isEmpty()) {
        *error = unknownText(name);
    }
    return found;
}

QStringList FacadeLibrary::listing(const QString& name, QString* error) const {
    const auto functions = named(name, error);
    if (functions.isEmpty()) {
        return {};
    }
    const QString needsTitle = QStringLiteral("Depends on");
    const QString reachTitle = QStringLiteral("Reach");
    int needsWidth = needsTitle.size();
    int reachWidth = reachTitle.size();
    for (const FacadeFunction* function : functions) {
        needsWidth = std::max(needsWidth, needsText(function->needs).size());
        reachWidth = std::max(reachWidth, reachText(function->reach).size());
    }
    const auto line = [=](const QString& needs, const QString& reach, const QString& function) {
        return needs.leftJustified(needsWidth + 2) + reach.leftJustified(reachWidth + 2) + function;
    };
    QStringList lines{line(needsTitle, reachTitle, QStringLiteral("Function"))};
    for (const FacadeFunction* function : functions) {
        lines.append(
            line(needsText(function->needs), reachText(function->reach), function->declaration()));
    }
    return lines << QString() << reachLegend();
}

QStringList FacadeLibrary::explanation(const QString& name, QString* error) const {
    QStringList lines;
    for (const FacadeFunction* function : named(name, error)) {
        if (!lines.isEmpty()) {
            lines.append(QString());
        }
        lines += explanationOf(*function);
    }
    return lines;
}
