#pragma once

#include <QString>
#include <QStringList>

/// What a terminal gets so that `lines` replace `drawn` lines, at whose end the cursor stands: 0
/// for none. The cursor stands at the end of the last line afterwards.
QString redrawText(const QStringList& lines, int drawn);

/// The last lines of the terminal on stdout, drawn again and again in place. Main thread only.
class LiveBlock {
public:
    /// The rows of the terminal, 24 when unknown.
    static int terminalRows();

    /// The lines must not be wider or higher than the terminal. Lines that are drawn already are
    /// not drawn again. In a terminal that was resized the block begins anew below the old one.
    void draw(const QStringList& lines);
    /// Ends the last line; further output goes below it.
    void leave();

private:
    QStringList m_drawn;
    int m_columns = 0;
    int m_rows = 0;
};
