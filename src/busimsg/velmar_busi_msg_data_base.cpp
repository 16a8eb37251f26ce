#include "velmar_busi_msg_data_base.h"

#include <chrono>
#include <utility>

#include "log.h"
#include "message_writer_sink.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"

namespace {

constexpr const char* kRunTag = "VelmarBusiMsgDataBase::run";
constexpr const char* kAppendTag = "VelmarBusiMsgDataBase::appendBusiMsg";
constexpr const char* kDestructorTag = "VelmarBusiMsgDataBase::~VelmarBusiMsgDataBase";

}  // namespace

VelmarBusiMsgDataBase::VelmarBusiMsgDataBase(MessageWriterSink& sink) : m_sink(sink) {
    setObjectName(QStringLiteral("VelmarBusiMsgDateBaseThread"));
}

VelmarBusiMsgDataBase::~VelmarBusiMsgDataBase() {
    // The closing platform must not call requestEnd() once the members are gone.
    withdraw();
    endAndJoin();
    qCDebug(lcBusiMsg) << kDestructorTag;
    const Lists lost = takeLists();
    if (!lost.isEmpty()) {
        qCWarning(lcBusiMsg) << kDestructorTag << lost.m_insertList.size() << "messages and"
                             << lost.m_updateList.size()
                             << "updates came after the last write and are not in the table";
    }
}

void VelmarBusiMsgDataBase::startWriting() {
    if (isRunning()) {
        return;
    }
    {
        // Not in run(): an end that is requested between start() and run() must not be forgotten.
        const std::lock_guard<std::mutex> guard(m_stopLock);
        m_stopFlag = false;
    }
    m_hasEnded = false;
    start(QThread::InheritPriority);
}

void VelmarBusiMsgDataBase::requestEnd() {
    {
        const std::lock_guard<std::mutex> guard(m_stopLock);
        m_stopFlag = true;
    }
    m_stopped.notify_all();
}

void VelmarBusiMsgDataBase::endAndJoin() {
    VelmarBusiMsgDataBase::requestEnd();  // also called by the destructor
    wait();
}

void VelmarBusiMsgDataBase::appendBusiMsg(const QVariantMap& record, bool bInsert) {
    if (m_hasEnded.exchange(false)) {
        qCWarning(lcBusiMsg) << kAppendTag
                             << "the writer has ended: this message and further ones are not "
                                "written unless it is started again";
    }
    const auto lists = m_listsLock.lock();
    if (!bInsert) {
        lists->m_updateList.append(record);
    } else if (lists->m_insertList.size() < kMostInserts ||
               record.value(System::BusiMsgLevel).toString() == BusiMsgLevel::Emergency) {
        lists->m_insertList.append(record);
    } else {
        ++m_discardCount;
    }
}

void VelmarBusiMsgDataBase::run() {
    qCDebug(lcBusiMsg) << kRunTag;
    bool isLast = false;
    while (!isLast) {
        const Lists lists = takeLists();
        if (lists.isEmpty()) {
            isLast = waitASecondForTheEnd();
        } else {
            write(lists);
            const std::lock_guard<std::mutex> guard(m_stopLock);
            isLast = m_stopFlag;
        }
    }
    // What a caller queued before it asked for the end.
    const Lists rest = takeLists();
    m_hasEnded = true;
    if (!rest.isEmpty()) {
        write(rest);
    }
}

VelmarBusiMsgDataBase::Lists VelmarBusiMsgDataBase::takeLists() {
    const auto lists = m_listsLock.lock();
    return std::exchange(*lists, {});
}

void VelmarBusiMsgDataBase::write(const Lists& lists) {
    qCDebug(lcBusiMsg) << kRunTag << "insert length " << lists.m_insertList.size()
                       << " update length " << lists.m_updateList.size();
    if (!lists.m_insertList.isEmpty()) {
        m_sink.insertToDataBase(lists.m_insertList);
        const int discarded = m_discardCount.exchange(0);
        if (discarded > 0) {
            qCInfo(lcBusiMsg) << kRunTag << "buffer length is more than" << kMostInserts << ","
                              << discarded << "messages are discarded";
        }
    }
    // After the inserts: a message that was inserted and read in the same second ends up read.
    if (!lists.m_updateList.isEmpty()) {
        m_sink.updateToDataBase(lists.m_updateList);
    }
}

bool VelmarBusiMsgDataBase::waitASecondForTheEnd() {
    std::unique_lock<std::mutex> guard(m_stopLock);
    return m_stopped.wait_for(guard, std::chrono::seconds(1), [this] { return m_stopFlag; });
}
