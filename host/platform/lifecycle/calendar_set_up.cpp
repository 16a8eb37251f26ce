#include <QCalendar>

// Qt 5.15 sets up its calendars without a lock at the first use of one. When several threads meet
// there, the text of a valid date is empty, or the process ends in a call of a pure virtual
// function. The first use is therefore here, while the library is loaded.
static const bool s_isCalendarSetUp = QCalendar().isValid();
