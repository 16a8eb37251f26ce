#include "product_query.h"

#include <QSet>

#include "held_product_rows.h"
#include "log.h"
#include "page_walk.h"
#include "product_report_facts.h"
#include "vocabulary/fields.h"
#include "znwidget/zn_presenter_class.h"

namespace {

using End = PageWalk::End;

constexpr int kPageSize = 3000;
inline const QString kShownDay = QStringLiteral("yyyy-MM-dd");

WalkRule ruleOf(const ProductReportFacts& report) {
    WalkRule rule;
    rule.field = report.isPaged ? PageField::Number : PageField::None;
    rule.end = report.isPaged ? ListEnd::AtShortPage : ListEnd::AfterLastPage;
    return rule;
}

class ProductWalkLog : public WalkLog {
public:
    ProductWalkLog(const ProductReportFacts& report, const QString& product, const QDate& date)
        : m_function(report.function),
          m_what(QStringLiteral(", productAccount: %1, Date: %2")
                     .arg(product, date.toString(kShownDay))) {}

    void timedOut() override {
        qCDebug(lcHistory).noquote().nospace() << m_function << " timeout" << m_what;
    }
    void failed(int, const QString& reason) override {
        qCDebug(lcHistory).noquote().nospace()
            << m_function << " error" << m_what << ", reason: " << reason;
    }
    void limitReached() override {
        qCDebug(lcHistory).noquote().nospace() << m_function << " timeout count >=5, no more query";
    }
    void stuck(const QString& why) override {
        qCWarning(lcHistory).noquote().nospace()
            << m_function << " gets a list that does not end" << m_what << ": " << why;
        failed(0, why);
    }
    /// The pages from this one on are missing in what is held of the product.
    void restLost(int pageNo) {
        qCWarning(lcHistory).noquote().nospace()
            << m_function << m_what << ": the rows from page " << pageNo
            << " on are lost; those before it are held as the whole report";
    }

private:
    const QString m_function;
    const QString m_what;
};

/// One call's requests. The time-outs of all its products count together.
class ProductQuery {
public:
    ProductQuery(ZnPresenterClass* presenter, const ProductReportFacts& report,
                 HeldProductRows& held, const QDate& date, QList<QVariantMap>* result)
        : m_presenter(presenter),
          m_report(report),
          m_held(held),
          m_date(date),
          m_day(date.toString(report.dayFormat)),
          m_result(*result) {}

    /// Requests all pages of the product. False when the call ends with it.
    bool request(const QString& product) {
        const ServerRequest request{m_report.msgType,
                                    {{m_report.productField, product}, {m_report.dayField, m_day}}};
        ProductWalkLog log(m_report, product, m_date);
        if (!m_presenter) {
            log.failed(sendToServer(m_presenter, request).code, {});
            return false;
        }
        PageWalk walk(ruleOf(m_report), request, kPageSize);
        walk.count = m_timeOuts;
        int pages = 0;
        const End end = walk.run(m_presenter, log, [&](qint64, const ServerReply& answer) {
            take(product, answer);
            ++pages;
            return true;
        });
        m_timeOuts = walk.count;
        // A list that does not end has a warning of its own.
        if (pages > 0 && (end == End::Refused || end == End::Failed || end == End::TimedOut) &&
            !m_presenter->isClosing()) {
            log.restLost(pages + 1);
        }
        return end == End::Complete || end == End::Refused || end == End::Stuck;
    }

private:
    /// Each page replaces what is held of its products by their rows of this call so far, so that
    /// two callers at once hold each row once. A row that came with another product than its own
    /// must not replace the whole list that another call has fetched.
    void take(const QString& product, const ServerReply& answer) {
        const bool underAnswer = m_report.heldUnder == HeldUnder::AnswerProduct;
        const QString answered = answer.header.value(m_report.productField).toString();
        QMap<QString, QList<QVariantMap>> changed;
        for (QVariantMap row : answer.rows) {
            QString key = answered;
            if (underAnswer) {
                row.insert(m_report.productField, product);
            } else {
                key = row.value(m_report.productField).toString();
            }
            m_result.append(row);
            // Rows without a product would be found by nobody but a caller who names no product.
            if (!key.isEmpty()) {
                changed[key].append(row);
            }
        }
        for (auto rows = changed.begin(); rows != changed.end();) {
            const QString& key = rows.key();
            if (key != product && !m_rows.contains(key) && m_held.contains(key, m_day)) {
                m_heldByOthers.insert(key);
            }
            m_rows[key].append(rows.value());
            if (key != product && m_heldByOthers.contains(key)) {
                rows = changed.erase(rows);
            } else {
                rows.value() = m_rows.value(key);
                ++rows;
            }
        }
        m_held.set(changed, m_day);
    }

    ZnPresenterClass* const m_presenter;
    const ProductReportFacts& m_report;
    HeldProductRows& m_held;
    const QDate m_date;
    const QString m_day;
    QList<QVariantMap>& m_result;
    QMap<QString, QList<QVariantMap>> m_rows;  ///< by product, as they are held
    QSet<QString> m_heldByOthers;              ///< products held before their first row here
    int m_timeOuts = 0;
};

}  // namespace

QList<QVariantMap> queryProducts(ZnPresenterClass* presenter, const ProductReportFacts& report,
                                 HeldProductRows& held, const QStringList& products,
                                 const QDate& date) {
    QList<QVariantMap> result;
    QStringList missing;
    QSet<QString> seen;
    for (const QString& product : products) {
        if (seen.contains(product)) {
            continue;
        }
        seen.insert(product);
        if (!held.appendTo(&result, product, date.toString(report.dayFormat))) {
            missing.append(product);
        }
    }
    ProductQuery query(presenter, report, held, date, &result);
    for (const QString& product : missing) {
        if (presenter && presenter->isClosing()) {
            break;
        }
        if (report.announcesRequests) {
            qCDebug(lcHistory).noquote() << "产品备案码:" << product << kPageSize;
        }
        if (!query.request(product)) {
            break;
        }
    }
    return result;
}
