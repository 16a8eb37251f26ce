#include "facade_library.h"

#include <QLibrary>
#include <algorithm>
#include <numeric>
#include <utility>
#include <vector>

namespace {

constexpr int kMostSuggestions = 5;

/// How many letters have to be changed, added or left out to get from one text to the other.
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

QString reachText(unsigned reach) {
    QStringList words;
    if (reach & FacadeFirstLoad) {
        words.append(QStringLiteral("first load"));
    }
    if (reach & FacadePresenter) {
        words.append(QStringLiteral("presenter"));
    }
    if (reach & FacadeWaits) {
        words.append(QStringLiteral("waits"));
    }
    return words.isEmpty() ? QStringLiteral("plain") : words.join(QStringLiteral(", "));
}

}  // namespace

QStringList closeNames(const QString& name, const QStringList& known) {
    const QString wanted = name.toLower();
    std::vector<std::pair<int, QString>> close;
    for (const QString& candidate : known) {
        const QString lower = candidate.toLower();
        // Part of a name is a good hint too, once it is more than a few letters.
        const bool holds = wanted.size() > 3 && lower.contains(wanted);
        const int distance = holds ? 1 : editDistance(wanted, lower);
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
    QStringList names;
    for (int i = 0; i < m_count; ++i) {
        names.append(QLatin1String(m_functions[i].name));
    }
    if (!names.contains(name)) {
        const QStringList close = closeNames(name, names);
        *error += close.isEmpty()
                      ? QStringLiteral("; 'functions' lists them")
                      : QStringLiteral("; close to it: %1").arg(close.join(QStringLiteral(", ")));
    }
    return nullptr;
}

QStringList FacadeLibrary::listing() const {
    std::vector<std::pair<QString, QString>> rows;
    int width = 0;
    for (int i = 0; i < m_count; ++i) {
        rows.emplace_back(m_functions[i].signature(), reachText(m_functions[i].reach));
        width = std::max(width, rows.back().first.size());
    }
    QStringList lines;
    for (const auto& row : rows) {
        lines.append(row.first.leftJustified(width + 2) + row.second);
    }
    return lines;
}
