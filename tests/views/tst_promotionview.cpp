#include "viewtest.h"

#include "vantora/views/promotionview/promotionview_p.h"

#include <QTextBlock>

using namespace Vantora;

namespace {

class PromotionTest : public CardTest
{
protected:
    PromotionView *textPromotion(const QString &content)
    {
        Promotion promotion;
        promotion.content = content;
        view = std::make_unique<PromotionView>();
        view->setSize(QSizeF(600, 400));
        view->configureForText(promotion, true);
        return view.get();
    }

    std::unique_ptr<PromotionView> view;
};

} // namespace

TEST_F(PromotionTest, textIsThe32PixelMarkupWithoutTrailingEmptyLines)
{
    EXPECT_EQ(PromotionView::markup(QStringLiteral("Hi")),
              QStringLiteral("<span style=\"font-family: '-apple-system', 'HelveticaNeue'; "
                             "font-size: 32px\">Hi</span>"));
    const struct
    {
        const char *content;
        const char *text;
    } rows[] = {
        {"Win a trip!", "Win a trip!"},
        {"<p>Win a trip!</p>", "Win a trip!"},
        {"Win<br>a trip!<br><br>", "Win\u2028a trip!"},
        {"<p>One</p><p>Two</p>", "One\u2029Two"},
        {"<p>Win</p><br>", "Win"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.content);
        QTextDocument &document =
            textPromotion(QString::fromUtf8(row.content))->textView()->document();
        EXPECT_EQ(document.toRawText(), QString::fromUtf8(row.text));
        EXPECT_EQ(document.firstBlock().begin().fragment().charFormat().font().pixelSize(), 32);
        EXPECT_FALSE(view->imageMode());
    }
}

TEST_F(PromotionTest, theTextAreaTakesTheBackgroundItsTextStartsWith)
{
    RichTextView *text =
        textPromotion(
            QStringLiteral("<span style=\"background-color: #FFC107\">Sale</span> ends today"))
            ->textView();
    EXPECT_EQ(text->backgroundColor(), QColor(0xFF, 0xC1, 0x07));
    EXPECT_GT(text->implicitHeight(), 30);
    EXPECT_EQ(textPromotion(QStringLiteral("<div style=\"background-color: #3949AB\">Sale</div>"))
                  ->textView()
                  ->backgroundColor(),
              QColor(0x39, 0x49, 0xAB));
    EXPECT_EQ(textPromotion(QStringLiteral("Plain"))->textView()->backgroundColor(),
              QColor(Qt::transparent));
}

TEST_F(PromotionTest, aPictureWithoutAnAddressAsksForTheMediaRoot)
{
    backend->answer(QStringLiteral("/"), {404, {}, {}});
    view = std::make_unique<PromotionView>();
    view->configureForImage(Promotion{}, false);
    clock.runPending();
    ASSERT_EQ(backend->requests().size(), 1);
    EXPECT_EQ(backend->requests()[0].url.toString(), QStringLiteral("https://media.example.com/"));
    EXPECT_TRUE(view->imageMode());
    EXPECT_TRUE(view->imageView()->image().isNull());
}
