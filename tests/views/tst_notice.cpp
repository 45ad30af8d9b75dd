#include "viewtest.h"

namespace {

// The notice of a prediction on which the viewer chose "Home".
VTANotice *configured(VTANotice *notice, bool won, double amount, double total)
{
    const Poll prediction{.id = u"p7"_s, .question = u"Who wins the match?"_s};
    notice->configure({u"Home"_s, amount, u"p7"_s}, prediction, won, total, u"Home"_s, {});
    return notice;
}

} // namespace

// The verdict and its symbol, what a win brings (at most one decimal), the answer and the
// question; from 3.5 s, when the verdict fades out and the score fades in, each over 0.4 s, the
// total score with one decimal, for good. The notice never closes itself; off the screen it
// switches all the same, and once deleted it leaves nothing behind. The remote starts on the close
// button, which asks the overlay each time; once the overlay is gone, it does nothing.
TEST_F(CardTest, aNoticeReadsTheVerdictThenTheTotalScore)
{
    const std::string info = R"(For choosing "Home" on "Who wins the match?" | ✕)";
    for (const QStringList &row : cases(u"notices")) {
        const bool won = row[0] == u"won"_s;
        VTANotice *notice =
            configured(make<VTANotice>(), won, row[1].toDouble(), row[2].toDouble());
        EXPECT_EQ(notice->iconRight()->isVisible(), won);
        EXPECT_EQ(notice->iconWrong()->isVisible(), !won);
        EXPECT_FALSE((won ? notice->iconRight() : notice->iconWrong())->image().isNull());
        clock.advanceBy(3490ms);
        EXPECT_EQ(screen(notice), rest(row, 4) + " | " + info);
        EXPECT_EQ(notice->textContainer()->opacity(), 1);
        clock.advanceBy(210ms);
        EXPECT_TRUE(notice->textContainer()->opacity() > 0
                    && notice->textContainer()->opacity() < 1);
        clock.advanceBy(200ms); // the verdict gone, the score coming from nothing
        EXPECT_EQ(screen(notice), "✕");
        clock.advanceBy(400ms);
        EXPECT_EQ(notice->pointsContainer()->opacity(), 1);
        clock.advanceBy(20s);
        EXPECT_EQ(screen(notice) + overlay.take(),
                  "Total Score: | " + row[3].toStdString() + " | ✕");
    }
    VTANotice *notice = configured(make<VTANotice>(), true, 10, 100);
    notice->forceActiveFocus();
    EXPECT_EQ(screen(notice->closeButton()), "[✕]");
    press({Qt::Key_Select, Qt::Key_Return});
    EXPECT_EQ(overlay.take(), "closeNotice(noticep7, button); closeNotice(noticep7, button)");
    notice->setDelegate(nullptr);
    press({Qt::Key_Select});
    EXPECT_EQ(overlay.take(), "");
    notice->setParentItem(nullptr);
    clock.advanceBy(4500ms);
    EXPECT_TRUE(notice->pointsContainer()->isVisible());
    configured(make<VTANotice>(), false, 10, 100);
    clock.advanceBy(1s);
    views.clear();
    clock.advanceBy(10s);
    EXPECT_EQ(clock.pendingCount(), 0);
}
