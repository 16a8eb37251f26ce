#include "resource_sampler.h"

#include <QFile>
#include <algorithm>

#include "never_destroyed.h"
#include "proc_figures.h"

namespace {

constexpr std::chrono::seconds kSmallestInterval{1};

QByteArray contentOf(const char* path) {
    QFile file(QString::fromLatin1(path));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

double percent(qint64 part, qint64 all) {
    constexpr double kWhole = 100;
    return all > 0 ? std::clamp(kWhole * double(part) / double(all), 0.0, kWhole) : 0.0;
}

}  // namespace

ResourceSampler& ResourceSampler::instance() {
    return neverDestroyed([] { return new ResourceSampler(contentOf, &Clock::now); });
}

ResourceSampler::ResourceSampler(ReadFile readFile, std::function<Clock::time_point()> now)
    : m_readFile(std::move(readFile)), m_now(std::move(now)) {}

void ResourceSampler::begin() {
    const std::lock_guard<std::mutex> guard(m_lock);
    if (readTicks(&m_ticks)) {
        m_hasSample = false;
    }
}

bool ResourceSampler::sample(SysAndProcRCInfo* info) {
    const std::lock_guard<std::mutex> guard(m_lock);
    const Clock::time_point now = m_now();
    if (!m_hasSample || now - m_sampled >= kSmallestInterval) {
        if (!takeSampleLocked()) {
            return false;
        }
        m_hasSample = true;
        m_sampled = now;
    }
    *info = m_last;
    return true;
}

bool ResourceSampler::readTicks(Ticks* ticks) const {
    const ProcFigures::CpuTicks cpu = ProcFigures::cpuTicks(m_readFile("/proc/stat"));
    const qint64 process = ProcFigures::processTicks(m_readFile("/proc/self/stat"));
    if (cpu.all < 0 || process < 0) {
        return false;
    }
    *ticks = {cpu.busy, cpu.all, process};
    return true;
}

bool ResourceSampler::takeSampleLocked() {
    constexpr double kKilobytesOfMegabyte = 1024;
    Ticks ticks;
    const QByteArray memory = m_readFile("/proc/meminfo");
    const qint64 total = ProcFigures::kilobytes(memory, "MemTotal");
    const qint64 available = ProcFigures::kilobytes(memory, "MemAvailable");
    const qint64 resident = ProcFigures::kilobytes(m_readFile("/proc/self/status"), "VmRSS");
    if (!readTicks(&ticks) || total < 0 || available < 0 || resident < 0) {
        return false;
    }
    const qint64 all = ticks.all - m_ticks.all;
    m_last.sysCpuUsage = percent(ticks.busy - m_ticks.busy, all);
    m_last.procCpuUsage = percent(ticks.process - m_ticks.process, all);
    m_last.sysMemUsage = double(total - available) / kKilobytesOfMegabyte;
    m_last.procMemUsage = double(resident) / kKilobytesOfMegabyte;
    m_last.remainMem = double(available) / kKilobytesOfMegabyte;
    m_ticks = ticks;
    return true;
}
