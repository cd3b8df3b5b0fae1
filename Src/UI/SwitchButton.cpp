#include "SwitchButton.h"

#include <QPainter>
#include <QPainterPath>

namespace
{

constexpr int kTickMs = 30;
/** Number of timer ticks for the whole width. */
constexpr int kSteps = 10;

} // namespace

SwitchButton::SwitchButton(QWidget *parent)
    : QWidget(parent)
    , m_textOn(tr("Yes"))
    , m_textOff(tr("No"))
    , m_timer(std::make_shared<QTimer>(this))
{
    m_timer->setInterval(kTickMs);
    connect(m_timer.get(), SIGNAL(timeout()), this, SLOT(updateValue()));
}

void SwitchButton::mousePressEvent(QMouseEvent *)
{
    m_checked = !m_checked;
    emit checkedChanged(m_checked);

    m_step = width() / kSteps;
    m_endX = m_checked ? width() - height() : 0;
    if (m_animation) {
        m_timer->start();
    } else {
        m_startX = m_endX;
        update();
    }
}

void SwitchButton::updateValue()
{
    if (m_checked && m_endX > m_startX) {
        m_startX += m_step;
    } else if (!m_checked && m_endX < m_startX) {
        m_startX -= m_step;
    } else {
        m_startX = m_endX;
        m_timer->stop();
    }
    update();
}

void SwitchButton::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHints(QPainter::Antialiasing | QPainter::TextAntialiasing);
    drawTrack(painter);
    drawSlider(painter);
}

void SwitchButton::drawTrack(QPainter &painter) const
{
    painter.save();
    painter.setPen(Qt::NoPen);
    QColor color = m_checked ? m_bgColorOn : m_bgColorOff;
    // Translucent colours are used only for a disabled switch.
    if (isEnabled())
        color.setAlpha(255);
    painter.setBrush(QBrush(color, Qt::SolidPattern));

    const int side = qMin(width(), height());
    QPainterPath left;
    left.addEllipse(0, 0, side, side);
    QPainterPath right;
    right.addEllipse(width() - side, 0, side, side);
    QPainterPath middle;
    const int half = side / 2; // whole pixels
    middle.addRect(half, 0, width() - side, height());
    painter.drawPath(left + right + middle);

    const int textSide = side - 2 * m_space - 5;
    painter.setPen(m_textColor);
    if (m_checked)
        painter.drawText(QRect(0, 0, width() - textSide, height()), Qt::AlignCenter, m_textOn);
    else
        painter.drawText(QRect(textSide, 0, width() - textSide, height()), Qt::AlignCenter, m_textOff);
    painter.restore();
}

void SwitchButton::drawSlider(QPainter &painter) const
{
    painter.save();
    painter.setPen(Qt::NoPen);
    painter.setBrush(QBrush(m_checked ? m_sliderColorOn : m_sliderColorOff, Qt::SolidPattern));
    const int diameter = qMin(width(), height()) - 2 * m_space;
    painter.drawEllipse(QRect(m_startX + m_space, m_space, diameter, diameter));
    painter.restore();
}

template <typename T>
void SwitchButton::change(T &member, const T &value)
{
    if (member == value)
        return;
    member = value;
    update();
}

void SwitchButton::setSpace(int space)
{
    change(m_space, space);
}

void SwitchButton::setRadius(int radius)
{
    change(m_radius, radius);
}

void SwitchButton::setChecked(bool checked)
{
    change(m_checked, checked);
    if (checked) {
        m_step = width() / kSteps;
        m_endX = width() - height();
        m_startX = m_endX;
        update();
    } else {
        m_endX = 0;
    }
}

void SwitchButton::setShowText(bool show)
{
    change(m_showText, show);
}

void SwitchButton::setShowCircle(bool show)
{
    change(m_showCircle, show);
}

void SwitchButton::setAnimation(bool ok)
{
    change(m_animation, ok);
}

void SwitchButton::setBgColorOn(QColor color)
{
    change(m_bgColorOn, color);
}

void SwitchButton::setBgColorOff(QColor color)
{
    change(m_bgColorOff, color);
}

void SwitchButton::setSliderColorOn(QColor color)
{
    change(m_sliderColorOn, color);
}

void SwitchButton::setSliderColorOff(QColor color)
{
    change(m_sliderColorOff, color);
}

void SwitchButton::setTextColor(QColor color)
{
    change(m_textColor, color);
}

void SwitchButton::setTextOn(QString text)
{
    change(m_textOn, text);
}

void SwitchButton::setTextOff(QString text)
{
    change(m_textOff, text);
}
