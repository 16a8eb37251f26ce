#include <rapidcheck.h>

#include <QFile>
#include <QSet>
#include <QtTest>
#include <algorithm>
#include <cmath>
#include <numeric>
#include <set>
#include <vector>

#include "client_world.h"
#include "order_arbitration.h"
#include "status_table.h"
#include "test_paths.h"
#include "vocabulary/fields.h"

namespace {

struct Report {
    QString status;
    double dealt = 0;
    double cancelled = 0;
    QVariantMap record;

    bool isAtMost(const Report& other) const {
        return dealt <= other.dealt && cancelled <= other.cancelled;
    }
    bool hasQuantitiesOf(const Report& other) const {
        return dealt == other.dealt && cancelled == other.cancelled;
    }
    QString text() const {
        return QStringLiteral("%1 %2 %3")
            .arg(status)
            .arg(dealt, 0, 'g', 15)
            .arg(cancelled, 0, 'g', 15);
    }
};

Report makeReport(const QString& status, double dealt, double cancelled) {
    return {status,
            dealt,
            cancelled,
            {{Security::orderID, "O1"},
             {Security::orderStatus, status},
             {Security::cumQty, dealt},
             {Security::cancelledQty, cancelled}}};
}

struct Sequence {
    QString name;
    std::vector<Report> reports;
};

constexpr size_t kMostReports = 8;

/// "A 0 0; 0 0 0"; empty for a text that is not like this, and for more than kMostReports.
std::vector<Report> readReports(const QString& text) {
    std::vector<Report> reports;
    for (const QString& one : text.split("; ")) {
        const QStringList words = one.split(' ');
        bool dealtOk = false;
        bool cancelledOk = false;
        const double dealt = words.value(1).toDouble(&dealtOk);
        const double cancelled = words.value(2).toDouble(&cancelledOk);
        if (words.size() != 3 || words.first().isEmpty() || !dealtOk || !cancelledOk ||
            !std::isfinite(dealt) || !std::isfinite(cancelled) || reports.size() == kMostReports) {
            return {};
        }
        reports.push_back(makeReport(words.first(), dealt, cancelled));
    }
    return reports;
}

/// A line "name: reports" each; a malformed line has no reports.
std::vector<Sequence> readSequences(const QString& text) {
    std::vector<Sequence> sequences;
    for (const QString& line : text.split('\n')) {
        if (!line.isEmpty() && !line.startsWith('#')) {
            sequences.push_back({line.section(": ", 0, 0), readReports(line.section(": ", 1))});
        }
    }
    return sequences;
}

std::vector<Sequence> sequencesOfTheFile() {
    QFile file(QStringLiteral(VELMAR_SOURCE_DIR "/tests/unit/orders/data/order_sequences.txt"));
    return file.open(QIODevice::ReadOnly) ? readSequences(QString::fromUtf8(file.readAll()))
                                          : std::vector<Sequence>();
}

bool isFinal(const QString& status) {
    return QStringList{"2", "4", "5", "8"}.contains(status);
}

/// Whether a report has the quantities of the last one, and its status if that is final.
bool isAsTheEnd(const Report& report, const Report& last) {
    return report.hasQuantitiesOf(last) && (!isFinal(last.status) || report.status == last.status);
}

/// Walks every order in which the reports may arrive, by states: which have arrived, and which of
/// them is stored. The first to arrive is stored without asking.
class Arrivals {
public:
    explicit Arrivals(const std::vector<Report>& reports) : m_reports(reports) {
        for (size_t old = 0; old < reports.size(); ++old) {
            m_mayReplace.emplace_back();
            for (const Report& incoming : reports) {
                m_mayReplace.back().push_back(canOrderUpdate(reports[old].record, incoming.record));
            }
        }
        for (size_t first = 0; first < reports.size(); ++first) {
            enter(1U << first, first);
        }
    }

    /// How many different sets of reports may have arrived at some time.
    size_t arrivedSets() const { return m_arrived.size(); }
    bool shrinks() const { return m_shrinks; }
    /// The reports that may be the stored one in the end, by place.
    const std::set<size_t>& ends() const { return m_ends; }

private:
    void enter(unsigned arrived, size_t stored) {
        const unsigned state = arrived * kMostReports + static_cast<unsigned>(stored);
        if (m_seen.contains(state)) {
            return;
        }
        m_seen.insert(state);
        m_arrived.insert(arrived);
        if (arrived == (1U << m_reports.size()) - 1) {
            m_ends.insert(stored);
        }
        for (size_t next = 0; next < m_reports.size(); ++next) {
            if (arrived & (1U << next)) {
                continue;
            }
            const bool replaces = m_mayReplace[stored][next];
            if (replaces && !m_reports[stored].isAtMost(m_reports[next])) {
                m_shrinks = true;
            }
            enter(arrived | (1U << next), replaces ? next : stored);
        }
    }

    const std::vector<Report>& m_reports;
    std::vector<std::vector<bool>> m_mayReplace;  // by stored and incoming report
    QSet<unsigned> m_seen;
    std::set<unsigned> m_arrived;
    std::set<size_t> m_ends;
    bool m_shrinks = false;
};

/// Whether every order of arrival ends with the quantities of the last report, and with its status
/// if that is final.
bool endsAlike(const std::vector<Report>& reports, const Arrivals& arrivals) {
    const std::set<size_t>& ends = arrivals.ends();
    return !ends.empty() && std::all_of(ends.cbegin(), ends.cend(), [&reports](size_t end) {
        return isAsTheEnd(reports[end], reports.back());
    });
}

/// The same from every permutation, without states.
std::set<size_t> endsOfPermutations(const std::vector<Report>& reports) {
    std::vector<size_t> places(reports.size());
    std::iota(places.begin(), places.end(), size_t(0));
    std::set<size_t> ends;
    do {
        size_t stored = places.front();
        for (const size_t place : places) {
            if (canOrderUpdate(reports[stored].record, reports[place].record)) {
                stored = place;
            }
        }
        ends.insert(stored);
    } while (std::next_permutation(places.begin(), places.end()));
    return ends;
}

/// The course of an order: it is sent, and what follows is drawn until it ends or is long enough.
std::vector<Report> anyCourse() {
    const double quantity = *rc::gen::element(3.0, 500.0, 1000000.0);
    std::vector<Report> reports{makeReport("A", 0, 0)};
    double dealt = 0;
    QString open = "A";
    const int length = *rc::gen::inRange(1, 7);
    for (int i = 0; i < length; ++i) {
        const int what = *rc::gen::inRange(0, 8);
        if (what == 0 && dealt == 0) {
            open = "0";
        } else if (what <= 2 && dealt + 1 < quantity) {
            dealt += 1;
            open = open == "6" && *rc::gen::arbitrary<bool>() ? "6" : "1";
        } else if (what == 3) {
            open = "6";
        } else if (what == 4) {
            reports.push_back(makeReport("2", quantity, 0));
            return reports;
        } else if (what == 5) {
            reports.push_back(makeReport(dealt == 0 ? "4" : "5", dealt, quantity - dealt));
            return reports;
        } else if (what == 6 && dealt == 0) {
            reports.push_back(makeReport("8", 0, 0));
            return reports;
        }
        reports.push_back(makeReport(open, dealt, 0));
    }
    return reports;
}

}  // namespace

class OrderSequencesTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() {
        m_sequences = sequencesOfTheFile();
        m_table = marketStatusTable();
        QCOMPARE(m_table.size(), 8);
        for (const Sequence& sequence : m_sequences) {
            QVERIFY2(!sequence.reports.empty(), qPrintable("malformed: " + sequence.name));
        }
    }
    void init() { open(m_table); }
    void cleanup() { m_world.reset(); }

    void line_malformed_hasNoReports_data() {
        QTest::addColumn<QString>("line");
        for (const char* const line :
             {"x", "x:", "x: ", "x:A 0 0", "x: A 0", "x: A 0 0 0", "x: A 0 b", "x: A a 0",
              "x: A 0 nan", "x: A inf 0", "x: A 0 0;0 0 0", "x: A 0 0; ", "x:  0 0",
              "x: A 0 0; 1 1 0; 1 2 0; 1 3 0; 1 4 0; 1 5 0; 1 6 0; 1 7 0; 1 8 0"}) {
            QTest::newRow(line) << line;
        }
    }
    void line_malformed_hasNoReports() {
        QFETCH(QString, line);
        const auto read = readSequences("# a comment\n" + line + "\n\ngood: A 0 0; 2 5 0\n");
        QCOMPARE(read.size(), size_t(2));
        QVERIFY(read.front().name.startsWith('x'));
        QVERIFY(read.front().reports.empty());
        QCOMPARE(read.back().name, QString("good"));
        QCOMPARE(read.back().reports.size(), size_t(2));
    }

    void sequences_ofTheFile_areOfTheProvenKind() {
        QVERIFY(m_sequences.size() >= 70);
        QSet<QString> names;
        QSet<QString> contents;
        for (const Sequence& sequence : m_sequences) {
            const QByteArray nameBytes = sequence.name.toUtf8();
            const char* const name = nameBytes.constData();
            QVERIFY2(!names.contains(sequence.name), name);
            names.insert(sequence.name);
            // The same reports in another order are the same sequence.
            QStringList sorted;
            const Report& last = sequence.reports.back();
            for (const Report& report : sequence.reports) {
                sorted.append(report.text());
                QVERIFY2(m_table.contains(report.status), name);
                QVERIFY2(report.isAtMost(last), name);
                QVERIFY2(!isFinal(report.status) || isAsTheEnd(report, last), name);
                QVERIFY2(!isFinal(report.status) || report.status == last.status, name);
                QVERIFY2(isAsTheEnd(report, last) || listed(report.status, last.status), name);
            }
            sorted.sort();
            const QString content = sorted.join("; ");
            QVERIFY2(!contents.contains(content), name);
            contents.insert(content);
        }
    }

    void sequences_anyOrderOfArrival_endAlike_data() {
        QTest::addColumn<int>("index");
        for (size_t i = 0; i < m_sequences.size(); ++i) {
            QTest::newRow(qPrintable(m_sequences[i].name)) << static_cast<int>(i);
        }
    }
    void sequences_anyOrderOfArrival_endAlike() {
        QFETCH(int, index);
        const std::vector<Report>& reports = m_sequences[static_cast<size_t>(index)].reports;
        const Arrivals arrivals(reports);
        QCOMPARE(arrivals.arrivedSets(), (size_t(1) << reports.size()) - 1);
        QVERIFY(!arrivals.shrinks());
        QVERIFY(endsAlike(reports, arrivals));
    }

    void arrivals_walkedByStates_endAsThePermutationsDo_data() {
        QTest::addColumn<StatusTable>("table");
        QTest::newRow("table of the market") << m_table;
        StatusTable other = m_table;
        other.insert("0", "1|6");
        other.insert("2", "1|6");
        other.insert("5", "6");
        QTest::newRow("table with several ends") << other;
    }
    void arrivals_walkedByStates_endAsThePermutationsDo() {
        constexpr size_t kMostPermuted = 5;
        QFETCH(StatusTable, table);
        open(table);
        int compared = 0;
        bool severalEnds = false;
        for (const Sequence& sequence : m_sequences) {
            if (sequence.reports.size() <= kMostPermuted) {
                const Arrivals arrivals(sequence.reports);
                QVERIFY2(arrivals.ends() == endsOfPermutations(sequence.reports),
                         qPrintable(sequence.name));
                ++compared;
                severalEnds = severalEnds || !endsAlike(sequence.reports, arrivals);
            }
        }
        QVERIFY(compared >= 20);
        QCOMPARE(severalEnds, table != m_table);
    }

    void sequences_tableWithoutATransition_doNotEndAlike_data() {
        QTest::addColumn<QString>("from");
        QTest::addColumn<QString>("to");
        for (auto row = m_table.cbegin(); row != m_table.cend(); ++row) {
            for (const QString& to : row->split('|', Qt::SkipEmptyParts)) {
                QTest::newRow(qPrintable(row.key() + " to " + to)) << row.key() << to;
            }
        }
    }
    void sequences_tableWithoutATransition_doNotEndAlike() {
        QFETCH(QString, from);
        QFETCH(QString, to);
        StatusTable table = m_table;
        QStringList left = table.value(from).split('|');
        QCOMPARE(left.removeAll(to), 1);
        table.insert(from, left.join('|'));
        open(table);
        QVERIFY(!allEndAlike());
    }

    // Only a status from which the table leads to the final one can appear beside it with the same
    // quantities.
    void sequences_tableWithAChangeOutOfTheEnd_doNotEndAlike_data() {
        QTest::addColumn<QString>("from");
        QTest::addColumn<QString>("to");
        for (auto row = m_table.cbegin(); row != m_table.cend(); ++row) {
            for (const QString& end : row->split('|', Qt::SkipEmptyParts)) {
                if (isFinal(end)) {
                    QTest::newRow(qPrintable(end + " to " + row.key())) << end << row.key();
                }
            }
        }
    }
    void sequences_tableWithAChangeOutOfTheEnd_doNotEndAlike() {
        QFETCH(QString, from);
        QFETCH(QString, to);
        QVERIFY(allEndAlike());
        StatusTable table = m_table;
        QCOMPARE(table.value(from), QString());
        table.insert(from, to);
        open(table);
        QVERIFY(!allEndAlike());
    }

    void course_anyOrderOfArrival_neverShrinksAndEndsAlike() {
        const bool holds = rc::check("any course, any order, with doubled reports", [] {
            const std::vector<Report> course = anyCourse();
            std::vector<Report> arriving = course;
            const int doubled = *rc::gen::inRange(0, 4);
            for (int i = 0; i < doubled; ++i) {
                arriving.push_back(course[*rc::gen::inRange<size_t>(0, course.size())]);
            }
            for (size_t i = arriving.size() - 1; i > 0; --i) {
                std::swap(arriving[i], arriving[*rc::gen::inRange<size_t>(0, i + 1)]);
            }
            Report stored = arriving.front();
            for (const Report& incoming : arriving) {
                if (canOrderUpdate(stored.record, incoming.record)) {
                    RC_ASSERT(stored.isAtMost(incoming));
                    stored = incoming;
                }
            }
            RC_ASSERT(stored.hasQuantitiesOf(course.back()));
            RC_ASSERT(!isFinal(course.back().status) || stored.status == course.back().status);
        });
        QVERIFY(holds);
    }

private:
    bool listed(const QString& from, const QString& to) const {
        return m_table.value(from).split('|', Qt::SkipEmptyParts).contains(to);
    }
    bool allEndAlike() const {
        return std::all_of(m_sequences.cbegin(), m_sequences.cend(), [](const Sequence& sequence) {
            return endsAlike(sequence.reports, Arrivals(sequence.reports));
        });
    }
    void open(const StatusTable& table) {
        m_world.reset();
        m_world = std::make_unique<ClientWorld>(QList<TestAccount>(), statusData(table));
    }

    std::vector<Sequence> m_sequences;
    StatusTable m_table;
    std::unique_ptr<ClientWorld> m_world;
};

QTEST_GUILESS_MAIN(OrderSequencesTest)
#include "order_sequences_test.moc"
