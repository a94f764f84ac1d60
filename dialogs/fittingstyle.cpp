#include "dialogs/fittingstyle.h"

#include <QApplication>
#include <QFontInfo>
#include <QFontMetrics>
#include <QPainter>
#include <QVariant>
#include <QWidget>
#include <utility>

namespace {

// The largest font size in pixels, up to that of the widget's font, at which its text fits. What
// the size hint adds to the text's width is not available for text.
int fittingPixelSize(const QWidget &widget)
{
    const QString text = widget.property("text").toString();
    QFont font = widget.font();
    int pixels = QFontInfo(font).pixelSize();
    QSize needed = QFontMetrics(font).size(Qt::TextShowMnemonic, text);
    const int width = widget.width() - (widget.sizeHint().width() - needed.width());
    while (pixels > 1 && (needed.width() > width || needed.height() > widget.height())) {
        font.setPixelSize(--pixels);
        needed = QFontMetrics(font).size(Qt::TextShowMnemonic, text);
    }
    return pixels;
}

} // namespace

FittingStyle::FittingStyle(std::vector<QWidget *> widgets, QObject *parent)
    : QProxyStyle(QApplication::style()->objectName())
    , group(std::move(widgets))
{
    setParent(parent);
    for (QWidget *widget : group)
        widget->setStyle(this);
}

void FittingStyle::drawItemText(QPainter *painter, const QRect &rect, int flags,
                                const QPalette &palette, bool enabled, const QString &text,
                                QPalette::ColorRole textRole) const
{
    const QFont given = painter->font();
    int pixels = QFontInfo(given).pixelSize();
    for (const QWidget *widget : group)
        pixels = qMin(pixels, fittingPixelSize(*widget));
    QFont fitting = given;
    if (pixels < QFontInfo(given).pixelSize())
        fitting.setPixelSize(pixels);
    painter->setFont(fitting);
    QProxyStyle::drawItemText(painter, rect, flags, palette, enabled, text, textRole);
    painter->setFont(given);
}

int FittingStyle::pixelMetric(PixelMetric metric, const QStyleOption *option,
                              const QWidget *widget) const
{
    const int length = QProxyStyle::pixelMetric(metric, option, widget);
    if (widget && (metric == PM_IndicatorWidth || metric == PM_IndicatorHeight))
        return qMin(length, widget->height());
    return length;
}
