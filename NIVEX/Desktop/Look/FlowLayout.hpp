#pragma once

#include <QLayout>
#include <memory>
#include <vector>

namespace nivex::desktop {

/// Lays widgets out like words: in lines, as many in each as its width holds.
class FlowLayout : public QLayout {
public:
    FlowLayout(int spacing, QWidget* parent = nullptr);

    void addItem(QLayoutItem* item) override { items_.emplace_back(item); }
    int count() const override { return static_cast<int>(items_.size()); }
    QLayoutItem* itemAt(int index) const override;
    QLayoutItem* takeAt(int index) override;
    Qt::Orientations expandingDirections() const override { return {}; }
    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override;
    QSize minimumSize() const override;
    QSize sizeHint() const override { return minimumSize(); }
    void setGeometry(const QRect& area) override;

private:
    /// The height taken; the widgets are placed only where asked.
    int arrange(const QRect& area, bool places) const;

    std::vector<std::unique_ptr<QLayoutItem>> items_;
};

} // namespace nivex::desktop
