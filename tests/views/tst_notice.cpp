#include "viewtest.h"

namespace {

// The notice of a prediction on which the viewer chose "Home".
VTANotice *configured(VTANotice *notice, bool won, double amount, double total,
                      std::optional<DesignInfo> design = {})
{
    const Poll prediction{.id = u"p7"_s, .question = u"Who wins the match?"_s};
    notice->configure({u"Home"_s, amount, u"p7"_s}, prediction, won, total, u"Home"_s, design);
    return notice;
}

} // namespace

// The verdict and its symbol, what a win brings (at most one decimal), the answer and the
// question; from 3.5 s, when the verdict fades out over 0.4 s and the score fades in over 0.4 s,
// the total score with one decimal, for good. The notice never closes itself; off the screen it
// switches all the same, and once deleted it leaves nothing behind.
TEST_F(CardTest, aNoticeReadsTheVerdictThenTheTotalScore)
{
    const std::string info = R"(For choosing "Home" on "Who wins the match?" | ✕)";
    const std::tuple<bool, double, double, std::string, const char *> rows[] = {
        {true, 7, 1340, "CONGRATULATIONS! | +7 pts | " + info, "Total Score: | 1,340.0 | ✕"},
        {true, 1250, 12.25, "CONGRATULATIONS! | +1,250 pts | " + info, "Total Score: | 12.2 | ✕"},
        {true, 12.5, 0, "CONGRATULATIONS! | +12.5 pts | " + info, "Total Score: | 0.0 | ✕"},
        {true, -5, 3, "CONGRATULATIONS! | +-5 pts | " + info, "Total Score: | 3.0 | ✕"},
        {false, 50, 80.5, "Wrong Prediction | " + info, "Total Score: | 80.5 | ✕"}};
    for (const auto &[won, amount, total, verdict, score] : rows) {
        VTANotice *notice = configured(make<VTANotice>(), won, amount, total);
        EXPECT_EQ(notice->iconRight()->isVisible(), won);
        EXPECT_EQ(notice->iconWrong()->isVisible(), !won);
        EXPECT_FALSE((won ? notice->iconRight() : notice->iconWrong())->image().isNull());
        clock.advanceBy(3490ms);
        EXPECT_EQ(screen(notice), verdict);
        EXPECT_EQ(notice->textContainer()->opacity(), 1);
        clock.advanceBy(210ms);
        EXPECT_TRUE(notice->textContainer()->opacity() > 0
                    && notice->textContainer()->opacity() < 1);
        EXPECT_FALSE(notice->pointsContainer()->isVisible());
        clock.advanceBy(200ms); // the verdict gone, the score coming from nothing
        EXPECT_EQ(screen(notice), "✕");
        EXPECT_TRUE(notice->pointsContainer()->isVisible());
        clock.advanceBy(400ms);
        EXPECT_EQ(screen(notice), score);
        EXPECT_EQ(notice->pointsContainer()->opacity(), 1);
        clock.advanceBy(20s);
        EXPECT_EQ(screen(notice) + overlay.take(), score);
    }
    VTANotice *notice = configured(make<VTANotice>(), true, 10, 100);
    notice->setParentItem(nullptr);
    clock.advanceBy(4500ms);
    EXPECT_TRUE(notice->pointsContainer()->isVisible());
    configured(make<VTANotice>(), false, 10, 100);
    clock.advanceBy(1s);
    views.clear();
    clock.advanceBy(10s);
    EXPECT_EQ(clock.pendingCount(), 0);
}

// The remote starts on the close button, which asks the overlay each time; once the overlay is
// gone, it does nothing.
TEST_F(CardTest, aNoticesCloseButtonHasTheFocusAndAsksTheOverlay)
{
    VTANotice *notice = configured(make<VTANotice>(), true, 10, 100);
    notice->forceActiveFocus();
    EXPECT_EQ(screen(notice->closeButton()), "[✕]");
    press({Qt::Key_Select, Qt::Key_Return});
    EXPECT_EQ(overlay.take(), "closeNotice(noticep7, button); closeNotice(noticep7, button)");
    notice->setDelegate(nullptr);
    press({Qt::Key_Select});
    EXPECT_EQ(overlay.take(), "");
}

// The design's text colour on the texts and the close button, its button colour on the amounts;
// "#F00" is no colour.
TEST_F(CardTest, theDesignColoursANoticesTextsAmountsAndCloseButton)
{
    const QColor plain = color(configured(make<VTANotice>(), true, 10, 100)->titleLabel());
    const DesignInfo notAColour{.textColor = u"#F00"_s};
    EXPECT_EQ(color(configured(make<VTANotice>(), true, 10, 100, notAColour)->titleLabel()), plain);
    VTANotice *notice =
        configured(make<VTANotice>(), true, 10, 100,
                   DesignInfo{.textColor = u"#FFD54F"_s, .backgroundButton = u"#1E88E5CC"_s});
    for (QQuickItem *label : {notice->titleLabel(), notice->infoLabel(), notice->scoreTitleLabel(),
                              notice->closeButton()->titleLabel()})
        EXPECT_EQ(color(label), QColor(0xFF, 0xD5, 0x4F)) << qPrintable(label->objectName());
    for (QQuickItem *label : {notice->pointsLabel(), notice->totalPointsLabel()})
        EXPECT_EQ(color(label), QColor(0x1E, 0x88, 0xE5, 0xCC));
}
