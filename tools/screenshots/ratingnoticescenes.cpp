// The rating card before and after rating, and the result notice won and lost, in both phases.

#include "gallery.h"

#include "vantora/toolkit/focustvbutton_p.h"
#include "vantora/toolkit/viewloader_p.h"
#include <vantora/views/notice/vtanotice.h>
#include <vantora/views/rating/vtaratingview.h>

#include <QQuickItem>

#include <memory>
#include <string>

using namespace Vantora;
using namespace std::chrono_literals;

bool ratingNoticeScenes(Gallery &gallery)
{
    bool ok = true;
    Rating rating;
    rating.id = QStringLiteral("r1");
    rating.name = QStringLiteral("How would you rate tonight's half-time show?");
    rating.optionsNumber = QStringLiteral("5");
    rating.totalPeople = 1287;
    rating.totalPoints = 4890;
    for (const bool rated : {false, true}) {
        std::unique_ptr<VTARatingView> card(fromNib<VTARatingView>());
        card->setParentItem(gallery.window.contentItem());
        card->setPosition(QPointF(1920 - card->width() - 60, 100));
        card->configure(rating, std::nullopt, 45, {1234.5, 80, 3}, std::nullopt);
        card->forceActiveFocus();
        card->focusPreferredItem();
        if (rated) {
            card->actionAnswer(card->answerViews().at(3)->button());
            card->updatePoints({1244.5, 85, 3});
        } else {
            card->answerViews().at(3)->forceActiveFocus();
        }
        ok = gallery.save(rated ? "rating-results" : "rating-active") && ok;
    }

    Poll prediction;
    prediction.id = QStringLiteral("p7");
    prediction.question = QStringLiteral("Who scores first in the second half?");
    for (const bool won : {true, false}) {
        std::unique_ptr<VTANotice> notice(fromNib<VTANotice>());
        notice->setParentItem(gallery.window.contentItem());
        notice->setPosition(QPointF(1920 - notice->width(), 60));
        notice->configure({QStringLiteral("Home team"), 1250, prediction.id}, prediction, won,
                          won ? 3340 : 2090, QStringLiteral("Home team"), std::nullopt);
        notice->forceActiveFocus();
        const std::string name = won ? "notice-won" : "notice-lost";
        ok = gallery.save((name + "-text").c_str()) && ok; // two seconds on: still the text
        gallery.clock.advanceBy(3s);
        ok = gallery.save((name + "-score").c_str()) && ok;
    }
    return ok;
}
