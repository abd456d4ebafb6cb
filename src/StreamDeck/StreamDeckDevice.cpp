#include "StreamDeck/StreamDeckDevice.h"

#include <algorithm>

using namespace Qt::StringLiterals;

const std::array<StreamDeckModel, 12>& StreamDeckModel::all()
{
    using enum Generation;
    using enum ImageFormat;
    // name, product, generation, keys, rows, columns, dials, pixels, format, flips, rotation,
    // reversed columns
    static const std::array<StreamDeckModel, 12> models {{
        // clang-format off
        {u"Stream Deck"_s,              0x0060, gen1, 15, 3, 5, 0,  72, bmp,  true,  true,   0, true},
        {u"Stream Deck"_s,              0x006D, gen2, 15, 3, 5, 0,  72, jpeg, true,  true,   0, false},
        {u"Stream Deck MK.2"_s,         0x0080, gen2, 15, 3, 5, 0,  72, jpeg, true,  true,   0, false},
        {u"Stream Deck MK.2"_s,         0x00B9, gen2, 15, 3, 5, 0,  72, jpeg, true,  true,   0, false},
        {u"Stream Deck MK.2 Scissor"_s, 0x00A5, gen2, 15, 3, 5, 0,  72, jpeg, true,  true,   0, false},
        {u"Stream Deck Mini"_s,         0x0063, mini,  6, 2, 3, 0,  80, bmp,  false, true,  90, false},
        {u"Stream Deck Mini"_s,         0x0090, mini,  6, 2, 3, 0,  80, bmp,  false, true,  90, false},
        {u"Stream Deck XL"_s,           0x006C, gen2, 32, 4, 8, 0,  96, jpeg, true,  true,   0, false},
        {u"Stream Deck XL"_s,           0x008F, gen2, 32, 4, 8, 0,  96, jpeg, true,  true,   0, false},
        {u"Stream Deck +"_s,            0x0084, gen2,  8, 2, 4, 4, 120, jpeg, false, false,  0, false},
        {u"Stream Deck Neo"_s,          0x009A, gen2,  8, 2, 4, 0,  96, jpeg, true,  true,   0, false},
        {u"Stream Deck Pedal"_s,        0x0086, gen2,  3, 1, 3, 0,   0, none, false, false,  0, false},
        // clang-format on
    }};
    return models;
}

std::optional<StreamDeckModel> StreamDeckModel::model(qint64 productID)
{
    const auto found = std::ranges::find(all(), productID, &StreamDeckModel::productID);
    if (found == all().end())
        return std::nullopt;
    return *found;
}

int StreamDeckModel::mirroredKey(int key) const
{
    if (!columnsReversed)
        return key;
    const int row = key / cols;
    const int column = key - row * cols;
    return row * cols + (cols - 1 - column);
}
