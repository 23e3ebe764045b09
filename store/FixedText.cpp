#include "store/FixedText.h"

namespace cz {

std::size_t fitUtf8(std::string_view text, std::size_t maxBytes)
{
    const std::size_t nul = text.find('\0');
    if (nul != std::string_view::npos)
        text = text.substr(0, nul);
    if (text.size() <= maxBytes)
        return text.size();
    std::size_t cut = maxBytes;
    // The byte at `cut` is the first one dropped; if it continues a sequence,
    // drop that sequence's lead bytes too.
    while (cut > 0 && (static_cast<unsigned char>(text[cut]) & 0xC0) == 0x80)
        --cut;
    return cut;
}

void blankControlCharacters(char *text, std::size_t size)
{
    for (std::size_t i = 0; i < size; ++i) {
        const auto c = static_cast<unsigned char>(text[i]);
        if (c < 0x20 || c == 0x7F)
            text[i] = ' ';
    }
}

QByteArray withoutControlCharacters(QByteArray text)
{
    blankControlCharacters(text.data(), std::size_t(text.size()));
    return text;
}

} // namespace cz
