#pragma once

#include <QByteArray>
#include <QList>

#include <memory>
#include <optional>

/// Stream Decks that do not exist, on the real udev and hidraw interfaces. For tests that run
/// under umockdev-wrapper; the programs they start see the decks, too. Made before these programs.
class FakeDecks {
public:
    FakeDecks();
    FakeDecks(const FakeDecks&) = delete;
    FakeDecks& operator=(const FakeDecks&) = delete;
    ~FakeDecks();

    /// Plugs a deck in, and tells udev's listeners. `number` is its node's, and must be new. What
    /// is found behind the node may be another product.
    void plug(int number, int productID, std::optional<int> behindTheNode = std::nullopt);
    void unplug(int number);
    /// Plugs a deck in that was unplugged. Its feature reports may not come any more.
    void plugAgain(int number);
    /// The deck takes nothing any more of what is written to it.
    void hang(int number);

    /// The deck sends an input report.
    void sendReport(int number, const QByteArray& report);
    /// Waits for the next report of this length that a program writes to the deck, for ten seconds
    /// at most; nothing when none comes.
    [[nodiscard]] QByteArray takeReport(int number, qsizetype length);
    /// All that programs have written to the deck and nobody has taken.
    [[nodiscard]] QByteArray takeAll(int number);
    /// The feature reports that a program has sent, in order.
    [[nodiscard]] QList<QByteArray> featureReports(int number);

private:
    struct Testbed;
    std::unique_ptr<Testbed> m_testbed;
};
