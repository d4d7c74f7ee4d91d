#pragma once

#include <QPainterPath>
#include <QPointer>
#include <QRegion>
#include <QVariantAnimation>
#include <QWidget>

class QPainter;
class QScreen;

// The panel's top-level window: a frameless, focus-less notch hanging from the top edge of
// a screen. Collapsed it is a small pill; expanded it drops down around its content. The
// window takes its final size and is laid out and painted once, then revealed: each frame of
// the animation only changes the window's shape, so the X server shows more of what is
// already drawn. The first frame holds the content's first line at its full width.
class NotchWindow : public QWidget {
    Q_OBJECT
public:
    explicit NotchWindow(QWidget* content);

    // Grows (or shrinks) to hold content of `contentSize`. Opening from the pill first moves
    // the notch to the screen under the pointer.
    void expandTo(QSize contentSize, int durationMs);
    void collapse(int durationMs);
    bool isExpanded() const { return m_expanded; }
    // Whether the pill stays on screen once collapsed, or the window goes until the next drop.
    void setShowsWhenCollapsed(bool shows);
    // A quiet mark in the pill (hover lookup armed). It puts the pill on screen while it
    // lasts, even where the pill does not stay; an open panel shows its content instead.
    void setMarked(bool marked);
    // Whether the mark is on screen: set, and the window settled into its pill.
    bool showsMark() const;
    bool isMoving() const { return m_animation.state() == QAbstractAnimation::Running; }
    // The window size that holds content of `contentSize`, margins and shoulders included.
    static QSize windowSizeFor(QSize contentSize);
    // The notch outline: flat along the screen edge, concave shoulders, rounded bottom.
    static QPainterPath outline(QSizeF size);

Q_SIGNALS:
    void pointerEntered();
    void pointerLeft();

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;

private:
    void animateTo(QSize from, QSize to, int durationMs);
    // Where a move ends: the content goes when collapsed, and the pill too unless it stays.
    void settle();
    void paintMark(QPainter& painter) const;
    // Shows `visible` of the window, centred along its top edge.
    void reveal(QSize visible);
    // Gives the window `size`, centred at the top of the screen, with the content in place.
    void place(QSize size);
    // Where a window `width` wide starts, centred on the screen.
    int leftEdgeFor(int width) const;
    QScreen* targetScreen() const;

    QWidget* m_content;
    QPointer<QScreen> m_screen;
    QVariantAnimation m_animation;
    // On show, and where the animation ends.
    QSize m_visible;
    QSize m_target;
    // The content's left edge on the screen, kept while the window around it changes size.
    int m_contentLeft = 0;
    QRegion m_shape;
    bool m_expanded = false;
    bool m_showsWhenCollapsed = true;
    bool m_marked = false;

    // The folded pill stays on screen: the idle notch is on, or the hover key is held.
    bool restsVisible() const;
};
