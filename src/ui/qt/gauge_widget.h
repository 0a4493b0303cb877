#pragma once
// The progress gauge strip: a widget that keeps what the gauge draws in its own image, so that
// it repaints from that image when uncovered, and paints at once when told to refresh (long
// runs do not return to the event loop between steps).

#include <QPixmap>
#include <QWidget>

#include "host/desktop_port.h"

namespace pendara {

class GaugeWidget : public QWidget, public GaugeSurface {
    Q_OBJECT
  public:
    explicit GaugeWidget(QWidget* parent = nullptr);

    void SetAutoRedraw(bool on) override { autoRedraw_ = on; }
    void Cls() override;
    void Refresh() override;
    void SetForeColor(std::uint32_t bgr) override { foreColor_ = bgr; }
    double ScaleWidth() const override { return image_.width(); }
    double ScaleHeight() const override { return image_.height(); }
    double TextWidth(const std::string& text) const override;
    double TextHeight(const std::string& text) const override;
    void FillBox(double x1, double y1, double x2, double y2, std::uint32_t bgr) override;
    void PrintText(double x, double y, const std::string& text) override;

    const QPixmap& image() const { return image_; }
    // The surface's background.
    static QColor Background();

  protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

  private:
    QPixmap image_;
    bool autoRedraw_ = false;
    std::uint32_t foreColor_ = 0;
};

// 0xBBGGRR to a colour.
QColor FromBgr(std::uint32_t bgr);

}  // namespace pendara
