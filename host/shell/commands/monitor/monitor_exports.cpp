#include "monitor_exports.h"

#include <QStringList>
#include <array>
#include <vector>

#include "vocabulary/values.h"

namespace {

constexpr double kSecondsOfMs = 0.001;
constexpr double kRatioOfPercent = 0.01;
constexpr double kMegabyte = 1024.0 * 1024;
constexpr double kGigabyte = 1024.0 * kMegabyte;

/// A resource figure: its place in the Prometheus text and its column.
struct Resource {
    QString key;         ///< ClientPerformItem
    const char* family;  ///< without the prefix; rows of one family follow each other
    const char* label;   ///< the value of the label "of", null without one
    const char* help;
    double factor;       ///< to the base unit
    const char* column;  ///< null for none
};

const std::vector<Resource>& resources() {
    using namespace ClientPerformItem;
    static const char* const kCpu = "Share of all processors in use";
    static const char* const kMemory = "Memory";
    static const char* const kDisk = "Disk that contains the client's home";
    static const std::vector<Resource> all{
        {ClientCpuUsage, "cpu_usage_ratio", "client", kCpu, kRatioOfPercent, "client_cpu_percent"},
        {TotalCpuUsage, "cpu_usage_ratio", "machine", kCpu, kRatioOfPercent, "machine_cpu_percent"},
        {ClientMemUsage, "memory_bytes", "client", kMemory, kMegabyte, "client_memory_mb"},
        {TotalMemUsage, "memory_bytes", "used", kMemory, kMegabyte, "used_memory_mb"},
        {RemainMem, "memory_bytes", "available", kMemory, kMegabyte, "available_memory_mb"},
        {RemainDisk, "disk_bytes", "free", kDisk, kGigabyte, "free_disk_gb"},
        {TotalDisk, "disk_bytes", "total", kDisk, kGigabyte, nullptr},
        {ThreadNum, "threads", nullptr, "Threads of the client", 1, "threads"},
        {PositionCount, "positions", nullptr, "Positions of all accounts", 1, "positions"},
        {OrderCount, "orders", nullptr, "Orders of the day", 1, "orders"},
        {DealCount, "deals", nullptr, "Executions of the day", 1, "deals"},
        {LogFileCount, "log_files", nullptr, "Log files", 1, nullptr},
        {LogFileSize, "log_bytes", nullptr, "Size of the log files", kGigabyte, nullptr},
        {DumpFileCount, "dump_files", nullptr, "Crash dumps", 1, nullptr},
        {DumpFileSize, "dump_bytes", nullptr, "Size of the crash dumps", kGigabyte, nullptr}};
    return all;
}

QString numberText(double value) {
    constexpr int kDigits = 15;
    return QString::number(value, 'g', kDigits);
}

/// Collects samples; each family gets its lines at its first sample.
class PrometheusWriter {
public:
    void add(const char* family, const char* type, const char* help, const QString& labels,
             double value) {
        const QString name = QStringLiteral("velmar_") + QLatin1String(family);
        if (name != m_family) {
            m_family = name;
            m_text += QStringLiteral("# HELP %1 %2\n# TYPE %1 %3\n")
                          .arg(name, QLatin1String(help), QLatin1String(type));
        }
        m_text += name;
        if (!labels.isEmpty()) {
            m_text += QLatin1Char('{') + labels + QLatin1Char('}');
        }
        m_text += QLatin1Char(' ') + numberText(value) + QLatin1Char('\n');
    }
    QByteArray bytes() const { return m_text.toUtf8(); }

private:
    QString m_family;
    QString m_text;
};

QString label(const char* name, const QString& value) {
    return QStringLiteral("%1=\"%2\"").arg(QLatin1String(name), prometheusLabel(value));
}

void addGates(PrometheusWriter& to, const MonitorFigures& figures) {
    struct Family {
        const char* name;
        const char* help;
        bool (*isKnown)(const GateFigures& gate);
        double (*value)(const GateFigures& gate);
    };
    constexpr auto hasState = [](const GateFigures& gate) { return !gate.state.isEmpty(); };
    constexpr auto hasSample = [](const GateFigures& gate) { return gate.count > 0; };
    constexpr auto always = [](const GateFigures&) { return true; };
    static constexpr std::array<Family, 5> kFamilies{{
        {"gate_up", "Whether the gate is connected", hasState,
         [](const GateFigures& gate) { return gate.isUp() ? 1.0 : 0.0; }},
        {"gate_delay_seconds", "Round trip of the gate's last heartbeat", hasSample,
         [](const GateFigures& gate) { return gate.last * kSecondsOfMs; }},
        {"gate_delay_mean_seconds", "Mean round trip since the gate connected last", hasSample,
         [](const GateFigures& gate) { return gate.mean * kSecondsOfMs; }},
        {"gate_delay_largest_seconds", "Largest round trip since the gate connected last",
         hasSample, [](const GateFigures& gate) { return gate.largest * kSecondsOfMs; }},
        {"gate_samples", "Round trips since the gate connected last", always,
         [](const GateFigures& gate) { return double(gate.count); }},
    }};
    for (const Family& family : kFamilies) {
        for (auto gate = figures.gates.cbegin(); gate != figures.gates.cend(); ++gate) {
            if (family.isKnown(*gate)) {
                to.add(family.name, "gauge", family.help, label("gate", gate.key()),
                       family.value(*gate));
            }
        }
    }
}

}  // namespace

QString prometheusLabel(QString text) {
    return text.replace(QLatin1Char('\\'), QLatin1String("\\\\"))
        .replace(QLatin1Char('"'), QLatin1String("\\\""))
        .replace(QLatin1Char('\n'), QLatin1String("\\n"));
}

QByteArray prometheusText(const MonitorFigures& figures) {
    PrometheusWriter to;
    addGates(to, figures);
    to.add("heart_beats_on_their_way", "gauge", "Heartbeats without an answer yet", QString(),
           figures.beatsOnTheirWay);
    to.add("client_info_waiting", "gauge", "Client information items that wait to be sent",
           QString(), figures.infoWaiting);
    to.add("client_info_sent_total", "counter", "Client information items that were sent",
           QString(), figures.infoSent);
    to.add("client_info_batches_total", "counter", "Messages that client information was sent in",
           QString(), figures.infoBatches);
    for (const Resource& resource : resources()) {
        const auto value = figures.resources.constFind(resource.key);
        if (value != figures.resources.cend()) {
            to.add(resource.family, "gauge", resource.help,
                   resource.label ? label("of", QLatin1String(resource.label)) : QString(),
                   *value * resource.factor);
        }
    }
    return to.bytes();
}

namespace {

/// The gates of the columns, whether known or not: the columns of every line are the same.
const QStringList& columnGates() {
    static const QStringList gates{NetGateType::InfoGate, NetGateType::MarketGrpcGate,
                                   NetGateType::MarketTcpGate, NetGateType::TradeGate};
    return gates;
}

QByteArray lineOf(const QStringList& cells) {
    return cells.join(QLatin1Char(',')).toUtf8() + '\n';
}

}  // namespace

QByteArray csvTitle() {
    QStringList cells{QStringLiteral("time")};
    for (const QString& gate : columnGates()) {
        for (const char* figure : {"up", "last_ms", "mean_ms", "largest_ms", "samples"}) {
            cells.append(QStringLiteral("%1_%2").arg(gate, QLatin1String(figure)));
        }
    }
    for (const char* name :
         {"beats_on_their_way", "client_info_waiting", "client_info_sent", "client_info_batches"}) {
        cells.append(QLatin1String(name));
    }
    for (const Resource& resource : resources()) {
        if (resource.column) {
            cells.append(QLatin1String(resource.column));
        }
    }
    return lineOf(cells);
}

QByteArray csvLine(const MonitorFigures& figures, const QDateTime& time) {
    QStringList cells{time.toUTC().toString(Qt::ISODateWithMs)};
    for (const QString& name : columnGates()) {
        const GateFigures gate = figures.gates.value(name);
        const bool isSampled = gate.count > 0;
        cells << (gate.state.isEmpty() ? QString() : QString::number(gate.isUp() ? 1 : 0))
              << (isSampled ? QString::number(gate.last) : QString())
              << (isSampled ? numberText(gate.mean) : QString())
              << (isSampled ? QString::number(gate.largest) : QString())
              << QString::number(gate.count);
    }
    cells << QString::number(figures.beatsOnTheirWay) << QString::number(figures.infoWaiting)
          << QString::number(figures.infoSent) << QString::number(figures.infoBatches);
    for (const Resource& resource : resources()) {
        if (resource.column) {
            const auto value = figures.resources.constFind(resource.key);
            cells.append(value != figures.resources.cend() ? numberText(*value) : QString());
        }
    }
    return lineOf(cells);
}
