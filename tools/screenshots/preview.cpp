// One item as a viewer will see it, for the dev server's console: the card the overlay would show
// for it, unanswered, where the overlay puts it on a 1080p player, its pictures read from the
// data folder's media.
//
//   vantora-screenshots --preview <poll|rating|trivia> <media folder> <out.png>  < item.json
//
// The item is a Poll, a Rating or a TriviaQuestion document, decoded with the SDK's strict rules.

#include "extremecards.h"
#include "gallery.h"

#include "vantora/records/jsoncodec_p.h"
#include "vantora/service/vtaservicemanager_p.h"
#include "vantora/toolkit/scheduler_p.h"
#include "vantora/toolkit/viewloader_p.h"
#include <vantora/views/poll/vtapollview.h>
#include <vantora/views/rating/vtaratingview.h>
#include <vantora/views/trivia/vtatriviaview.h>

#include <QFile>

#include <cstdio>

using namespace Vantora;

namespace {

// The data folder's media, as the dev server serves them under /media/.
class MediaFolder final : public Transport
{
public:
    explicit MediaFolder(QString folder) : m_folder(std::move(folder)) { }

    void send(HttpRequest request, QObject *context, Done done) override
    {
        HttpReply reply{404, {}, {}};
        const QString path = QDir::cleanPath(request.url.path());
        QFile file(m_folder + path);
        if (!path.contains(QStringLiteral("..")) && file.open(QIODevice::ReadOnly))
            reply = {200, file.readAll(), {}};
        Scheduler::instance().post(context, [done = std::move(done), reply] { done(reply); });
    }

private:
    QString m_folder;
};

constexpr VTAPointsInfo viewer{0, 0, 1};

template <class View, class... Configuration>
QQuickItem *showCard(QQuickItem *stage, const Configuration &...configuration)
{
    View *card = fromNib<View>();
    card->setParent(stage);
    card->setParentItem(stage);
    card->setPosition({stage->width() - card->width(), stage->height() - card->height()});
    card->configure(configuration...);
    card->forceActiveFocus();
    card->focusPreferredItem();
    return card;
}

template <class T>
std::optional<T> decoded(const QByteArray &json)
{
    auto item = Json::decode<T>(json);
    if (!item) {
        std::fprintf(stderr, "%s\n", qPrintable(item.error().message()));
        return std::nullopt;
    }
    return std::move(item).value();
}

} // namespace

bool previewItem(const QString &kind, const QString &mediaFolder, const QString &out)
{
    QFile input;
    if (!input.open(stdin, QIODevice::ReadOnly))
        return false;
    const QByteArray json = input.readAll();
    VTAServiceManager &service = VTAServiceManager::shared();
    service.setTransport(std::make_unique<MediaFolder>(mediaFolder));
    service.setEnvironment(VTAEnvironment(QStringLiteral("https://api.example.com/userApi"),
                                          QStringLiteral("https://media.example.com"),
                                          QStringLiteral("k"), QStringLiteral("us2"),
                                          QStringLiteral("preview")));

    Extreme::Scene scene;
    if (kind == QLatin1String("poll")) {
        const auto poll = decoded<Poll>(json);
        if (!poll)
            return false;
        scene.make = [poll](QQuickItem *stage) {
            return showCard<VTAPollView>(stage, *poll, std::optional<QString>(), 20, viewer,
                                         std::optional<DesignInfo>());
        };
    } else if (kind == QLatin1String("rating")) {
        const auto rating = decoded<Rating>(json);
        if (!rating)
            return false;
        scene.make = [rating](QQuickItem *stage) {
            return showCard<VTARatingView>(stage, *rating, std::optional<QString>(), 30, viewer,
                                           std::optional<DesignInfo>());
        };
    } else if (kind == QLatin1String("trivia")) {
        const auto question = decoded<TriviaQuestion>(json);
        if (!question)
            return false;
        scene.make = [question](QQuickItem *stage) {
            return showCard<VTATriviaView>(stage, Trivia{*question, std::nullopt}, 25, viewer,
                                           std::optional<DesignInfo>());
        };
    } else {
        std::fprintf(stderr, "unknown kind %s: expected poll, rating or trivia\n",
                     qPrintable(kind));
        return false;
    }
    Extreme::Player player(QSize(1920, 1080));
    player.play(scene);
    return player.window.grabWindow().save(out, "PNG");
}
