#pragma once

#include <cstddef>
#include <iterator>
#include <string>

namespace tevanto::test {

/// `length` characters (code points) of many scripts in an order that repeats only by chance: Latin with
/// accents, Greek, Cyrillic, Arabic, Chinese, Japanese, Korean, emoji with joiners and skin tones.
inline std::u16string mixedText(std::size_t length, unsigned seed) {
  static const std::u32string kSamples[] = {
      U"Voix ambiguë d’un cœur qui, au zéphyr, préfère les jattes de kiwis. ",
      U"Zwölf Boxkämpfer jagen Viktor quer über den großen Sylter Deich — „gut“! ",
      U"Příliš žluťoučký kůň úpěl ďábelské ódy; Łódź, Đà Nẵng, ÅÄÖ ñ ¿qué? ",
      U"Ξεσκεπάζω την ψυχοφθόρα βδελυγμία. ",
      U"Съешь же ещё этих мягких французских булок, да выпей чаю. Ґанок їжак. ",
      U"نص حكيم له سر قاطع وذو شأن عظيم مكتوب على ثوب أخضر ",
      U"敏捷的棕色狐狸跳過懶狗。天地玄黃，宇宙洪荒。日月盈昃，辰宿列張。",
      U"いろはにほへと ちりぬるを カタカナ。다람쥐 헌 쳇바퀴에 타고파 ",
      // Joined emoji in two pieces: the formatter would break a longer literal inside one of them.
      U"👩‍👩‍👧‍👦🏳️‍🌈👍🏽"
      U"🤷🏾‍♀️❤️‍🔥🇫🇷🇩🇪😀🧑‍💻 ",
      U"The quick brown fox: {\"a\": [1, 2.5e3], '~': `x|y`} <#@$%^&*()_+=-\\/>! "};
  unsigned state = seed;
  const auto next = [&state] { return (state = state * 1664525u + 1013904223u) >> 8; };
  std::u32string characters;
  while (characters.size() < length) {
    const auto& sample = kSamples[next() % std::size(kSamples)];
    const auto from = next() % sample.size();
    characters += sample.substr(from, 1 + next() % 12);
  }
  characters.resize(length);
  std::u16string result;
  for (const char32_t c : characters) {
    if (c < 0x10000) {
      result.push_back(static_cast<char16_t>(c));
    } else {
      result.push_back(static_cast<char16_t>(0xd800 + ((c - 0x10000) >> 10)));
      result.push_back(static_cast<char16_t>(0xdc00 + ((c - 0x10000) & 0x3ff)));
    }
  }
  return result;
}

}  // namespace tevanto::test
