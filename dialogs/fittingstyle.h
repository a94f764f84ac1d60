#pragma once

#include <QProxyStyle>
#include <vector>

/// Draws the texts of some labels or check boxes smaller when they would not fit.
///
/// A form without layouts gives its widgets fixed places that suit one font at one resolution. With
/// another font, or with the larger letters that a user has asked for, texts would be cut off.
/// Geometry and fonts of the widgets stay as they are; only the painted text gets smaller, in all
/// widgets alike, so that they still match.
class FittingStyle : public QProxyStyle
{
    Q_OBJECT

public:
    /// The style of the application, fitted to \a widgets; sets itself as their style. Each widget
    /// has a property "text" and outlives this style. Owned by \a parent.
    FittingStyle(std::vector<QWidget *> widgets, QObject *parent);

    void drawItemText(QPainter *painter, const QRect &rect, int flags, const QPalette &palette,
                      bool enabled, const QString &text,
                      QPalette::ColorRole textRole) const override;
    /// A check box's indicator is no higher than the check box.
    int pixelMetric(PixelMetric metric, const QStyleOption *option,
                    const QWidget *widget) const override;

private:
    std::vector<QWidget *> group;
};
