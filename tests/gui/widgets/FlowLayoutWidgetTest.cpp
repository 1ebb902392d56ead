// Widgets in the flow layout: the rows wrap with the width and stack without
// overlapping, each item centred on its row.

#include "gui/QtFlowLayout.h"

#include "GuiTestSupport.h"

#include <QLabel>

using namespace NSGuiTesting;

TEST(FlowLayoutWidgetTest, RowsWrapWithTheWidthAndStack)
{
    GetApplication();
    QWidget row;
    auto* flow = new CQtFlowLayout(&row);
    flow->setContentsMargins(0, 0, 0, 0);
    auto* tall = new QLabel;
    tall->setFixedSize(100, 40);
    auto* small = new QLabel;
    small->setFixedSize(60, 20);
    flow->AddWidget(tall, 0, 10);
    flow->AddPad(30, 20);
    flow->AddWidget(small, 10, 0);

    flow->setGeometry(QRect(0, 0, 300, flow->heightForWidth(300)));
    EXPECT_EQ(QRect(0, 0, 100, 40), tall->geometry());
    EXPECT_EQ(QRect(150, 10, 60, 20), small->geometry());

    EXPECT_EQ(60, flow->heightForWidth(120));
    flow->setGeometry(QRect(0, 0, 120, 60));
    EXPECT_EQ(QRect(0, 0, 100, 40), tall->geometry());
    EXPECT_EQ(QRect(10, 40, 60, 20), small->geometry()); // the pad vanished at the row's start
}
