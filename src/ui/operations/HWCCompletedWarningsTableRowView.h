#pragma once

class QPainter;
class QRect;

// The look of one row of the warnings table: shaded by the parity of the row it was made
// for, filled with the selection colour when selected, with a line along its bottom edge
// (orange under a selected row, grey under the others). The table reuses row drawings; a
// reused one keeps the shading it was made with. Main thread.
class HWCCompletedWarningsTableRowView {
public:
    explicit HWCCompletedWarningsTableRowView(bool even) : m_even(even) {}

    bool even() const { return m_even; }
    // Odd rows are the emphasised, lighter ones.
    bool isEmphasized() const { return !m_even; }

    void drawBackgroundInRect(QPainter &painter, const QRect &rect) const;
    void drawSelectionInRect(QPainter &painter, const QRect &rect) const;
    // A line 1 pixel high at the rect's bottom; the rect's own y is ignored, so rect is
    // expected in the row's coordinates.
    void drawSeparatorInRect(QPainter &painter, const QRect &rect, bool selected) const;

private:
    bool m_even;
};
