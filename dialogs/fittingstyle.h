#pragma once

#include <QProxyStyle>
#include <vector>

/// Draws the texts of some labels or check boxes smaller when they would not fit.
///
/// A form without layouts gives its widgets places that suit one font at one resolution. Elsewhere
/// another font takes its place, or a user has asked for larger letters, and the ends of texts
/// would be cut off. Geometry and fonts of the widgets stay as they are; only what is painted gets
/// smaller, for all the widgets together, so that they keep looking alike.
class FittingStyle : public QProxyStyle
{
    Q_OBJECT

public:
    /// The style of the application, fitted to \a widgets, which each have a property "text" and
    /// outlive this style's use; sets itself as their style. Owned by \a parent.
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
