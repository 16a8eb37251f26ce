#pragma once

#include <QByteArray>
#include <QMap>
#include <QRegularExpression>
#include <QSet>
#include <QString>
#include <QStringList>

/// A strict reader of the Prometheus text format, for tests. It reads what the format's description
/// allows and refuses everything else.
class PrometheusLines {
public:
    struct Family {
        QString type;
        QString help;
    };

    /// False with the reason in error().
    bool read(const QByteArray& text) {
        if (text.isEmpty() || !text.endsWith('\n')) {
            return refuse("the last line has no end", QString());
        }
        const QStringList lines = QString::fromUtf8(text).chopped(1).split('\n');
        for (const QString& line : lines) {
            const bool isGood = line.startsWith("# ") ? takeComment(line) : takeSample(line);
            if (!isGood) {
                return false;
            }
        }
        for (auto family = families.cbegin(); family != families.cend(); ++family) {
            if (!m_withSamples.contains(family.key())) {
                return refuse("a family without samples", family.key());
            }
        }
        return true;
    }

    /// Value by series, the series as `name{label="value",...}` with the labels unescaped and
    /// sorted.
    QMap<QString, double> samples;
    QMap<QString, Family> families;
    const QString& error() const { return m_error; }

private:
    bool refuse(const char* why, const QString& line) {
        m_error = QString("%1: %2").arg(why, line);
        return false;
    }

    bool takeComment(const QString& line) {
        static const QRegularExpression form("^# (HELP|TYPE) ([a-zA-Z_:][a-zA-Z0-9_:]*) (.+)$");
        const QRegularExpressionMatch match = form.match(line);
        if (!match.hasMatch()) {
            return refuse("no HELP or TYPE line", line);
        }
        const QString name = match.captured(2);
        Family& family = families[name];
        QString& part = match.captured(1) == "TYPE" ? family.type : family.help;
        if (!part.isEmpty() || m_withSamples.contains(name)) {
            return refuse("a second or a late line of the family", line);
        }
        part = match.captured(3);
        static const QStringList types{"counter", "gauge", "histogram", "summary", "untyped"};
        if (match.captured(1) == "TYPE" && !types.contains(part)) {
            return refuse("an unknown type", line);
        }
        return true;
    }

    bool takeSample(const QString& line) {
        static const QRegularExpression nameForm("^[a-zA-Z_:][a-zA-Z0-9_:]*");
        const QString name = nameForm.match(line).captured();
        QMap<QString, QString> labels;
        int at = name.size();
        if (name.isEmpty() || (line.mid(at, 1) == "{" && !takeLabels(line, &at, &labels))) {
            return refuse("no name or broken labels", line);
        }
        bool isNumber = false;
        const double value = line.mid(at + 1).toDouble(&isNumber);
        if (line.mid(at, 1) != " " || !isNumber) {
            return refuse("no value", line);
        }
        if (families.value(name).type.isEmpty() || families.value(name).help.isEmpty()) {
            return refuse("a sample before its HELP and TYPE lines", line);
        }
        if (!m_last.isEmpty() && m_last != name && m_withSamples.contains(name)) {
            return refuse("the lines of a family are apart", line);
        }
        QStringList parts;
        for (auto label = labels.cbegin(); label != labels.cend(); ++label) {
            parts.append(QString("%1=\"%2\"").arg(label.key(), *label));
        }
        const QString series = parts.isEmpty() ? name : name + '{' + parts.join(',') + '}';
        if (samples.contains(series)) {
            return refuse("a second sample of a series", line);
        }
        samples.insert(series, value);
        m_withSamples.insert(name);
        m_last = name;
        return true;
    }

    /// Reads from the brace at `*at`; moves behind the closing one.
    static bool takeLabels(const QString& line, int* at, QMap<QString, QString>* labels) {
        static const QRegularExpression nameForm("\\G[a-zA-Z_][a-zA-Z0-9_]*=\"");
        int place = *at + 1;
        for (;;) {
            const QRegularExpressionMatch match =
                nameForm.match(line, place, QRegularExpression::NormalMatch);
            if (!match.hasMatch()) {
                return false;
            }
            place = match.capturedEnd();
            QString value;
            for (; place < line.size() && line.at(place) != '"'; ++place) {
                if (line.at(place) != '\\') {
                    value += line.at(place);
                    continue;
                }
                ++place;
                const QChar escaped = place < line.size() ? line.at(place) : QChar();
                if (escaped != '\\' && escaped != '"' && escaped != 'n') {
                    return false;
                }
                value += escaped == 'n' ? QChar('\n') : escaped;
            }
            const QString name = match.captured().chopped(2);
            if (place >= line.size() || labels->contains(name)) {
                return false;
            }
            labels->insert(name, value);
            ++place;
            if (line.mid(place, 1) == "}") {
                *at = place + 1;
                return true;
            }
            if (line.mid(place, 1) != ",") {
                return false;
            }
            ++place;
        }
    }

    QSet<QString> m_withSamples;
    QString m_last;
    QString m_error;
};
