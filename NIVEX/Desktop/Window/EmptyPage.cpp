#include "NIVEX/Desktop/Window/EmptyPage.hpp"

#include "NIVEX/Desktop/Look/Look.hpp"

#include <QLabel>
#include <QVBoxLayout>

namespace nivex::desktop {

QWidget* emptyPage(const QString& heading, const QString& sentence)
{
    auto* page = new QWidget;
    auto* layout = new QVBoxLayout{page};
    auto* title = titleLabel(heading);
    auto* text = quietLabel(sentence);
    for (QLabel* label : {title, text})
        label->setAlignment(Qt::AlignCenter);
    layout->addStretch(2);
    layout->addWidget(title);
    layout->addWidget(text);
    layout->addStretch(3);
    return page;
}

} // namespace nivex::desktop
