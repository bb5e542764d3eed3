#pragma once

#include <QAbstractButton>
#include <QColor>
#include <QPixmap>
#include <QSize>
#include <QString>

namespace vorna {

// A button drawn as the phone's custom buttons are: no frame and no panel, only its
// background image stretched over its bounds, its image at the image's own size in the middle,
// and its title. While held down it shows dimmed. It wants the size of its image, or of its
// title when it has no image ("sized to fit").
class VRNPlainButton : public QAbstractButton {
    Q_OBJECT

public:
    explicit VRNPlainButton(QWidget* parent = nullptr);

    // One of the kit's images by name; empty for none.
    const QString& imageName() const { return image_.name; }
    void setImageName(const QString& name);
    const QString& backgroundImageName() const { return background_.name; }
    void setBackgroundImageName(const QString& name);

    QColor titleColor() const { return titleColor_; }
    void setTitleColor(const QColor& color);

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    // A kit image, drawn once for the size and pixel ratio it is shown at.
    struct Image {
        QString name;
        QSize naturalSize;
        QPixmap drawn;
    };
    void setImage(Image& image, const QString& name);
    const QPixmap& drawnAt(Image& image, const QSize& size);

    Image image_;
    Image background_;
    QColor titleColor_ = Qt::white;
};

}  // namespace vorna
