#pragma once

#include <QColor>
#include <QString>
#include <QTimer>
#include <QWidget>
#include <memory>

/**
 * A pill-shaped toggle switch with an animated slider. Any mouse button toggles it.
 *
 * Has no size hint; set a size. Lengths are in pixels. Main thread only.
 */
class SwitchButton : public QWidget
{
    Q_OBJECT

public:
    /** Initially off, with the slider at the left. */
    explicit SwitchButton(QWidget *parent);

    /** Settings, and the position of the slider; see the members. */
    ///@{
    int space() const { return m_space; }
    int radius() const { return m_radius; }
    bool checked() const { return m_checked; }
    bool showText() const { return m_showText; }
    bool showCircle() const { return m_showCircle; }
    bool animation() const { return m_animation; }
    const QColor &bgColorOn() const { return m_bgColorOn; }
    const QColor &bgColorOff() const { return m_bgColorOff; }
    const QColor &sliderColorOn() const { return m_sliderColorOn; }
    const QColor &sliderColorOff() const { return m_sliderColorOff; }
    const QColor &textColor() const { return m_textColor; }
    const QString &textOn() const { return m_textOn; }
    const QString &textOff() const { return m_textOff; }
    int step() const { return m_step; }
    int startX() const { return m_startX; }
    int endX() const { return m_endX; }
    ///@}

signals:
    /** Emitted when the user clicks. */
    void checkedChanged(bool checked);

private slots:
    void updateValue();

public slots:
    /** Stores a length and repaints. */
    ///@{
    void setSpace(int space);
    void setRadius(int radius);
    ///@}
    /**
     * Sets the state without a signal. On moves the slider to its end for the current size, without animation; off does
     * not move the slider until the next click.
     */
    void setChecked(bool checked);
    /** Stores a setting and repaints. */
    ///@{
    void setShowText(bool show);
    void setShowCircle(bool show);
    void setAnimation(bool ok);
    void setBgColorOn(QColor color);
    void setBgColorOff(QColor color);
    void setSliderColorOn(QColor color);
    void setSliderColorOff(QColor color);
    void setTextColor(QColor color);
    void setTextOn(QString text);
    void setTextOff(QString text);
    ///@}

protected:
    /** Toggles the state and moves the slider. */
    void mousePressEvent(QMouseEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    void drawTrack(QPainter &painter) const;
    void drawSlider(QPainter &painter) const;
    /** Stores a setting, and repaints if it has changed. */
    template <typename T>
    void change(T &member, const T &value);

    int m_space = 2; // gap between the slider and the edge of the track
    int m_radius = 5; // corner radius; unused
    bool m_checked = false;
    bool m_showText = false; // unused: the text is always drawn
    bool m_showCircle = false; // unused
    bool m_animation = true;
    QColor m_bgColorOn{78, 150, 251};
    QColor m_bgColorOff{111, 122, 126};
    QColor m_sliderColorOn{Qt::white};
    QColor m_sliderColorOff{Qt::white};
    QColor m_textColor{Qt::white};
    QString m_textOn;
    QString m_textOff;
    std::shared_ptr<QTimer> m_timer;
    int m_step = 0; // movement of the slider per timer tick
    int m_startX = 0; // current position of the slider
    int m_endX = 0; // target position of the slider
};
