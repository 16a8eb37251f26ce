#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QString>

#include "monitor_figures.h"

// The monitoring figures for other programs. Pure functions.

/// The figures in the Prometheus text format, UTF-8: base units (seconds, bytes, ratios), each
/// family below its HELP and TYPE line. What is not known is left out.
QByteArray prometheusText(const MonitorFigures& figures);
/// A text as the value of a label, with backslashes, quotes and line ends escaped.
QString prometheusLabel(QString text);

/// The titles of the CSV columns, with a line end.
QByteArray csvTitle();
/// The figures of a moment as a CSV line with a line end: the time in UTC, delays in milliseconds,
/// percentages, MB and GB. A cell of what is not known is empty.
QByteArray csvLine(const MonitorFigures& figures, const QDateTime& time);
