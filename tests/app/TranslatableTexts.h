#pragma once

#include <juce_core/juce_core.h>

#include <cctype>
#include <set>
#include <vector>

/**
    Finds, in the program's sources, every text that reaches the language file's lookup:

    - the string literals inside a call of `translate` (the project's, or a small helper of that
      name) or of a lambda `tr` that stands for it, adjacent literals joined as the compiler joins
      them, with their escapes decoded;
    - the literals marked with JUCE's `NEEDS_TRANS`, which is how a text held in a table or a
      variable before it is translated is marked.

    A call of `translate` whose argument holds neither is an indirect call: the texts that reach it
    must be marked where they are written. Those calls are reported, so that a test can hold the
    known ones and fail on a new one.
*/
namespace TranslatableTexts
{
struct Token
{
    enum Kind
    {
        identifier,
        text,
        other
    };

    Kind kind;
    juce::String value; // an identifier's name, a literal's decoded text, or the character
};

struct Scan
{
    std::set<juce::String> texts;
    std::set<juce::String> indirectCalls; // "<file name>: <argument>"
};

/** Decodes the escapes of a literal's body, as the compiler reads them, into UTF-8 text. */
inline juce::String decodeLiteral (const std::string& body)
{
    std::string bytes;
    for (size_t i = 0; i < body.size(); ++i)
    {
        const char c = body[i];
        if (c != '\\' || i + 1 >= body.size())
        {
            bytes += c;
            continue;
        }

        const char e = body[++i];
        switch (e)
        {
            case 'n':
                bytes += '\n';
                break;
            case 't':
                bytes += '\t';
                break;
            case 'r':
                bytes += '\r';
                break;
            case 'a':
                bytes += '\a';
                break;
            case 'b':
                bytes += '\b';
                break;
            case 'f':
                bytes += '\f';
                break;
            case 'v':
                bytes += '\v';
                break;
            case 'x':
            {
                int value = 0;
                while (i + 1 < body.size() && std::isxdigit ((unsigned char) body[i + 1]))
                    value = value * 16 + juce::CharacterFunctions::getHexDigitValue ((juce::juce_wchar) body[++i]);
                bytes += (char) value;
                break;
            }
            default:
                if (e >= '0' && e <= '7')
                {
                    int value = e - '0';
                    for (int digits = 1; digits < 3 && i + 1 < body.size() && body[i + 1] >= '0' && body[i + 1] <= '7';
                         ++digits)
                        value = value * 8 + (body[++i] - '0');
                    bytes += (char) value;
                }
                else
                {
                    bytes += e; // \" \' \\ \?
                }
                break;
        }
    }
    return juce::String::fromUTF8 (bytes.data(), (int) bytes.size());
}

/** The tokens of a C++ source: comments and preprocessor lines left out, adjacent string literals
    joined into one. */
inline std::vector<Token> tokenise (const juce::String& source)
{
    const std::string s = source.toStdString();
    std::vector<Token> tokens;
    bool lineStart = true;
    size_t i = 0;

    const auto isIdentifierStart = [] (char c) { return std::isalpha ((unsigned char) c) || c == '_'; };
    const auto isIdentifierChar = [] (char c) { return std::isalnum ((unsigned char) c) || c == '_'; };

    const auto addText = [&tokens] (const juce::String& text)
    {
        if (! tokens.empty() && tokens.back().kind == Token::text)
            tokens.back().value += text;
        else
            tokens.push_back ({ Token::text, text });
    };

    while (i < s.size())
    {
        const char c = s[i];

        if (c == '\n')
        {
            lineStart = true;
            ++i;
            continue;
        }
        if (std::isspace ((unsigned char) c))
        {
            ++i;
            continue;
        }
        if (c == '#' && lineStart)
        {
            // A preprocessor line, continued by backslashes.
            while (i < s.size() && s[i] != '\n')
                i += (s[i] == '\\' && i + 1 < s.size()) ? 2 : 1;
            continue;
        }
        lineStart = false;

        if (s.compare (i, 2, "//") == 0)
        {
            while (i < s.size() && s[i] != '\n')
                ++i;
            continue;
        }
        if (s.compare (i, 2, "/*") == 0)
        {
            const auto end = s.find ("*/", i + 2);
            i = end == std::string::npos ? s.size() : end + 2;
            continue;
        }

        if (isIdentifierStart (c))
        {
            size_t end = i;
            while (end < s.size() && isIdentifierChar (s[end]))
                ++end;
            const auto word = s.substr (i, end - i);

            // A prefix of a literal: u8"", L"", R"()" and the like.
            const bool raw = ! word.empty() && word.back() == 'R' &&
                             (word == "R" || word == "u8R" || word == "uR" || word == "UR" || word == "LR");
            const bool prefix = word == "u8" || word == "u" || word == "U" || word == "L";
            if (end < s.size() && s[end] == '"' && (raw || prefix))
            {
                i = end;
                if (raw)
                {
                    const auto open = s.find ('(', i);
                    const auto delimiter = ")" + s.substr (i + 1, open - i - 1) + "\"";
                    const auto close = s.find (delimiter, open);
                    const auto body = s.substr (open + 1, close - open - 1);
                    addText (juce::String::fromUTF8 (body.data(), (int) body.size()));
                    i = close + delimiter.size();
                    continue;
                }
                // Falls through to the plain literal below.
            }
            else
            {
                tokens.push_back ({ Token::identifier, juce::String (word) });
                i = end;
                continue;
            }
        }

        if (s[i] == '"')
        {
            size_t end = i + 1;
            while (end < s.size() && s[end] != '"')
                end += s[end] == '\\' ? 2 : 1;
            addText (decodeLiteral (s.substr (i + 1, end - i - 1)));
            i = end + 1;
            continue;
        }

        if (s[i] == '\'')
        {
            size_t end = i + 1;
            while (end < s.size() && s[end] != '\'')
                end += s[end] == '\\' ? 2 : 1;
            tokens.push_back ({ Token::other, juce::String (s.substr (i, end + 1 - i)) });
            i = end + 1;
            continue;
        }

        if (std::isdigit ((unsigned char) s[i]))
        {
            // Digit separators and suffixes belong to the number.
            size_t end = i;
            while (end < s.size() && (isIdentifierChar (s[end]) || s[end] == '.' || s[end] == '\''))
                ++end;
            tokens.push_back ({ Token::other, juce::String (s.substr (i, end - i)) });
            i = end;
            continue;
        }

        tokens.push_back ({ Token::other, juce::String::charToString ((juce::juce_wchar) (unsigned char) s[i]) });
        ++i;
    }

    return tokens;
}

/** Adds the texts and the indirect calls of one source file to `scan`. */
inline void scanSource (const juce::String& fileName, const juce::String& source, Scan& scan)
{
    const auto tokens = tokenise (source);

    for (size_t i = 0; i + 1 < tokens.size(); ++i)
    {
        const auto& name = tokens[i];
        if (name.kind != Token::identifier || tokens[i + 1].value != "(")
            continue;

        const bool marker = name.value == "NEEDS_TRANS";
        if (! marker && name.value != "translate" && name.value != "tr")
            continue;

        // The argument: the tokens up to the matching parenthesis.
        size_t end = i + 2;
        for (int depth = 1; end < tokens.size(); ++end)
        {
            if (tokens[end].kind == Token::other && tokens[end].value == "(")
                ++depth;
            else if (tokens[end].kind == Token::other && tokens[end].value == ")" && --depth == 0)
                break;
        }

        bool holdsText = false;
        juce::String argument;
        for (size_t j = i + 2; j < end; ++j)
        {
            const auto& token = tokens[j];
            if (token.kind == Token::text)
            {
                scan.texts.insert (token.value);
                holdsText = true;
            }
            else if (token.kind == Token::identifier && token.value == "NEEDS_TRANS")
            {
                holdsText = true;
            }

            const bool word = token.kind == Token::identifier;
            if (word && j > i + 2 && tokens[j - 1].kind == Token::identifier)
                argument << " ";
            argument << (token.kind == Token::text ? "\"" + token.value + "\"" : token.value);
        }

        // A declaration or definition names a parameter, not a text.
        const bool declaration = end > i + 2 && tokens[i + 2].value == "const";
        if (! marker && ! holdsText && ! declaration && argument.isNotEmpty())
            scan.indirectCalls.insert (fileName + ": " + argument);
    }
}

/** Every source file below `folder`. */
inline Scan scanFolder (const juce::File& folder)
{
    Scan scan;
    for (const auto& entry : juce::RangedDirectoryIterator (folder, true, "*.cpp;*.h", juce::File::findFiles))
    {
        const auto& file = entry.getFile();
        scanSource (file.getRelativePathFrom (folder), file.loadFileAsString(), scan);
    }
    return scan;
}
} // namespace TranslatableTexts
