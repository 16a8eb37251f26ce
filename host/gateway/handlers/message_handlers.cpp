#include "handler_families.h"
#include "message_centre.h"
#include "paged_query.h"
#include "vocabulary/fields.h"
#include "vocabulary/velmar_msg_type.h"

namespace {

constexpr int kMostRows = 5000;

/// The messages of a user. Without a position the list begins with the day, or with the first
/// message that no client got before the day.
HandlerAnswer userMessages(const ServerCall& call) {
    using Mode = PageRequest::Mode;
    HandlerAnswer answer;
    const auto request = PageRequest::of(call, kMostRows, &answer.refusal);
    if (!request) {
        return answer;
    }
    MessageCentre::Query query;
    query.after = request->after;
    query.limit = request->mode == Mode::All ? -1 : request->count;
    query.offset = request->offset;
    // A page may be any part of the list.
    query.delivers = request->mode != Mode::Page;
    MessageCentre::Page page;
    if (!call.messages.read(call.text(UserAccount::userID), query, &page, &answer.refusal)) {
        return answer;
    }
    answer.rows = page.rows;
    answer.totalSize = page.total;
    if (request->mode == Mode::Page) {
        answer.header = {{System::pageNo, request->pageNo}, {System::pageSize, request->count}};
    } else if (request->mode == Mode::Position) {
        answer.header.insert(System::positionStr,
                             page.last > 0 ? positionText(page.last) : request->requested);
    }
    return answer;
}

}  // namespace

void addMessageHandlers(ServerHandlers& handlers) {
    handlers.insert(Velmar_MsgType::queryBusiMessagesRequest, userMessages);
}
