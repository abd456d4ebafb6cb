#pragma once

#include <QString>

#include <array>
#include <optional>

/// All that differs between the models of Stream Deck.
struct StreamDeckModel {
    /// The protocol's family: header of the input reports, feature reports, framing of images.
    enum class Generation {
        /// The first device with 15 keys.
        gen1,
        /// The devices with 6 keys.
        mini,
        /// Everything else.
        gen2,
    };
    enum class ImageFormat {
        bmp,
        jpeg,
        /// Keys without displays.
        none,
    };

    /// What the operator reads; several models share one.
    QString name = {};
    /// The USB product ID.
    qint64 productID = 0;
    Generation generation = Generation::gen2;
    int keyCount = 0;
    /// Keys are counted from the top left one, row by row.
    int rows = 0;
    int cols = 0;
    /// Rotary encoders; a device that has some sends other events than keys, too.
    int dials = 0;
    /// Edge of the square image of a key, 0 without displays.
    int keyPixels = 0;
    ImageFormat imageFormat = ImageFormat::none;
    /// How the image of a key is turned before it is encoded: first rotated counter-clockwise by 0
    /// or 90 degrees, then mirrored left-right and top-bottom.
    bool flipX = false;
    bool flipY = false;
    int rotationDegrees = 0;
    /// The device counts the keys of a row from the right.
    bool columnsReversed = false;

    bool operator==(const StreamDeckModel&) const = default;

    [[nodiscard]] bool hasDisplays() const
    {
        return imageFormat != ImageFormat::none && keyPixels >= 1;
    }
    /// The device's index of a key from the operator's, and the other way round.
    [[nodiscard]] int mirroredKey(int key) const;

    /// Every supported model.
    static const std::array<StreamDeckModel, 12>& all();
    /// Nothing for a product that is not supported.
    [[nodiscard]] static std::optional<StreamDeckModel> model(qint64 productID);
};
