#include <rapidcheck.h>

#include <QFile>
#include <QSet>
#include <QtTest>
#include <algorithm>
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

/// "A 0 0; 0 0 0"; empty for a text that is not like this.
std::vector<Report> readReports(const QString& text) {
    std::vector<Report> reports;
    for (const QString& one : text.split("; ")) {
        const QStringList words = one.split(' ');
        bool dealtOk = false;
        bool cancelledOk = false;
        const double dealt = words.value(1).toDouble(&dealtOk);
        const double cancelled = words.value(2).toDouble(&cancelledOk);
        if (words.size() != 3 || !dealtOk || !cancelledOk) {
            return {};
        }
        reports.push_back(makeReport(words.first(), dealt, cancelled));
    }
    return reports;
}

std::vector<Sequence> recordedSequences() {
    QFile file(QStringLiteral(VELMAR_SOURCE_DIR "/tests/unit/orders/data/order_sequences.txt"));
    std::vector<Sequence> sequences;
    if (!file.open(QIODevice::ReadOnly)) {
        return sequences;
    }
    for (const QString& line : QString::fromUtf8(file.readAll()).split('\n')) {
        if (!line.isEmpty() && !line.startsWith('#')) {
            sequences.push_back({line.section(": ", 0, 0), readReports(line.section(": ", 1))});
        }
    }
    return sequences;
}

bool isFinal(const QString& status) {
    return QStringList{"2", "4", "5", "8"}.contains(status);
}

/// Walks every order in which the reports may arrive, by states: which have arrived, and which of
/// them is stored. The first to arrive is stored unasked.
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

    int states() const { return m_seen.size(); }
    bool shrinks() const { return m_shrinks; }
    /// The reports that may be the stored one in the end.
    std::vector<Report> ends() const {
        std::vector<Report> all;
        for (const size_t end : m_ends) {
            all.push_back(m_reports[end]);
        }
        return all;
    }

private:
    void enter(unsigned arrived, size_t stored) {
        const unsigned state = arrived * kMostReports + static_cast<unsigned>(stored);
        if (m_seen.contains(state)) {
            return;
        }
        m_seen.insert(state);
        if (arrived == (1U << m_reports.size()) - 1) {
            m_ends.push_back(stored);
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
    std::vector<size_t> m_ends;
    bool m_shrinks = false;
};

/// Whether every order of arrival ends with the quantities of the last report, and with its status
/// if that is final.
bool endsAlike(const std::vector<Report>& reports, const Arrivals& arrivals) {
    const Report& last = reports.back();
    const std::vector<Report> ends = arrivals.ends();
    return !ends.empty() && std::all_of(ends.cbegin(), ends.cend(), [&last](const Report& end) {
        return end.hasQuantitiesOf(last) && (!isFinal(last.status) || end.status == last.status);
    });
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
        m_sequences = recordedSequences();
        m_table = marketStatusTable();
        QCOMPARE(m_table.size(), 8);
    }
    void init() { open(m_table); }
    void cleanup() { m_world.reset(); }

    void sequences_recorded_areOfTheProvenKind() {
        QVERIFY(m_sequences.size() >= 50);
        QSet<QString> names;
        for (const Sequence& sequence : m_sequences) {
            const char* const name = qPrintable(sequence.name);
            QVERIFY2(!names.contains(sequence.name), name);
            names.insert(sequence.name);
            QVERIFY2(!sequence.reports.empty() && sequence.reports.size() <= kMostReports, name);
            const Report& last = sequence.reports.back();
            for (const Report& report : sequence.reports) {
                QVERIFY2(m_table.contains(report.status), name);
                QVERIFY2(report.isAtMost(last), name);
                QVERIFY2(!isFinal(report.status) || report.hasQuantitiesOf(last), name);
            }
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
        QVERIFY(arrivals.states() >= static_cast<int>(reports.size()));
        QVERIFY(!arrivals.shrinks());
        QVERIFY(endsAlike(reports, arrivals));
    }

    void sequences_tableWithoutATransition_doNotEndAlike_data() {
        QTest::addColumn<QString>("from");
        QTest::addColumn<QString>("to");
        for (auto row = m_table.cbegin(); row != m_table.cend(); ++row) {
            for (const QString& to : row->split('|', Qt::SkipEmptyParts)) {
                // Accepting brings no quantity and is not the end.
                if (to != "0") {
                    QTest::newRow(qPrintable(row.key() + " to " + to)) << row.key() << to;
                }
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
        const bool allEndAlike =
            std::all_of(m_sequences.cbegin(), m_sequences.cend(), [](const Sequence& sequence) {
                return endsAlike(sequence.reports, Arrivals(sequence.reports));
            });
        QVERIFY(!allEndAlike);
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
