// Includes every installed header and calls into the shared library.

#include "every_header.h"

#include <QGuiApplication>
#include <QQmlEngine>
#include <QStringList>

#include <cstdio>
#include <cstring>
#include <memory>

// The host's own poll card: its own layout, and a note of the hooks the card calls.
class HostPollView : public VTAPollView
{
    Q_OBJECT
    Q_CLASSINFO("VantoraLayout", "qrc:/host/HostPollView.qml")

public:
    QStringList hooks;
    void didAnswerPoll() override { hooks.append(QStringLiteral("didAnswerPoll")); }
    void didLoadPoll() override { hooks.append(QStringLiteral("didLoadPoll")); }
};

class HostLayouts : public VTALayoutDelegate
{
public:
    VTAPollView *customPollView() override { return VTAViews::create<HostPollView>(); }
};

// Makes the host's card the way the overlay would, shows a poll the viewer has voted in, and
// checks that the library called the host's hooks and filled the host's layout.
bool hostCardWorks()
{
    qmlRegisterType<HostPollView>("HostCards", 1, 0, "HostPollViewBase");
    HostLayouts layouts;
    VTALayoutDelegate &delegate = layouts;
    std::unique_ptr<VTAPollView> card(delegate.customPollView());
    auto *host = qobject_cast<HostPollView *>(card.get());
    if (!host || card->width() != 1400) {
        std::puts("consumer: the factory did not make the host's card from its layout");
        return false;
    }

    Vantora::Poll poll;
    poll.id = QStringLiteral("p1");
    poll.question = QStringLiteral("Who scores next?");
    poll.questionType = QStringLiteral("poll");
    poll.viewType = QStringLiteral("percentage");
    poll.status = QStringLiteral("active");
    poll.answers.append({QStringLiteral("Home"), {}, {}, false, {}, 3});
    poll.answers.append({QStringLiteral("Away"), {}, {}, false, {}, 1});
    card->configure(poll, QStringLiteral("Home"), 20, {}, std::nullopt);

    const QStringList expected = {QStringLiteral("didAnswerPoll"), QStringLiteral("didLoadPoll")};
    if (host->hooks != expected || card->totalVotes() != 4
        || card->answerViews().first()->statsLabel()->property("text").toString()
            != QLatin1String("75.0%")) {
        std::printf("consumer: unexpected host card: hooks %s\n",
                    qPrintable(host->hooks.join(u',')));
        return false;
    }
    // The built-in card comes from the library's own layout.
    std::unique_ptr<VTATriviaView> trivia(VTAViews::create<VTATriviaView>());
    return trivia && trivia->infoView();
}

int main(int argc, char *argv[])
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    VTAOverlayView overlay;
    if (std::strcmp(Vantora::runtimeVersion(), VANTORA_VERSION_STRING) != 0 || !hostCardWorks())
        return 1;
    std::printf("consumer: linked against Vantora %s\n", Vantora::runtimeVersion());
    return 0;
}

#include "main.moc"
