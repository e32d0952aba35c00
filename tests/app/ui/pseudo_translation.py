"""usage: pseudo_translation.py TEXTS.ts PSEUDO.ts

Translates every text into itself between brackets, so that a text that bypasses the translation can be seen.
"""
import sys
import xml.etree.ElementTree as ElementTree


def main():
    tree = ElementTree.parse(sys.argv[1])
    tree.getroot().set("language", "eo")
    for message in tree.iter("message"):
        translation = message.find("translation")
        translation.attrib.pop("type", None)
        translation.text = f"⟦{message.find('source').text}⟧"
    tree.write(sys.argv[2], encoding="utf-8", xml_declaration=True)


if __name__ == "__main__":
    main()
