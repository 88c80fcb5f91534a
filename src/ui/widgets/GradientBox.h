#pragma once

#include <QWidget>

// A box whose background is a three-part image (start, stretched middle, end), laid out
// horizontally or, when isRepeatVertically is set, vertically. No border and no title.
class GradientBox : public QWidget
{
    Q_OBJECT
public:
    explicit GradientBox(QWidget* parent = nullptr);

    // One name for all three parts; the direction is left as it is.
    void setGradientImageName(const QString& name);
    // One name for all three parts, always laid out vertically: the flag is not read.
    void setGradientImageName(const QString& name, bool repeatVertically);
    void setGradientImageName(const QString& start, const QString& middle, const QString& last);

    QString bgImage_St() const { return m_bgImage_St; }
    QString bgImage() const { return m_bgImage; }
    QString bgImage_En() const { return m_bgImage_En; }
    bool isRepeatVertically() const { return m_isRepeatVertically; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QString m_bgImage;
    QString m_bgImage_St;
    QString m_bgImage_En;
    bool m_isRepeatVertically = false;
};
