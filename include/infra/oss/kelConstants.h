#pragma once

#include <infra/oss/kelExport.h>

namespace nx::oss {

/// Library-wide constants.
///
/// All of them are compile-time constants, so they can be used in array bounds, as code-page
/// arguments and inside other static initialisers. The strings are NUL-terminated ASCII with static
/// lifetime. The sizes are conventions for the users of the library; no class enforces the message
/// sizes. Safe to use from any thread.
class KELINFRA_EXPORT Constants {
  public:
    /// @name Sizes
    /// Bytes for buffers and names, digits for numbers, entries for arrays.
    /// @{

    /// Bytes of a block of room for a path.
    static constexpr unsigned long MAXIMUM_PATH_BLOCK_SIZE = 128;
    /// Bytes of a file name.
    static constexpr unsigned long FILE_NAME_SIZE = 256;
    /// Bytes of a path.
    static constexpr unsigned long PATH_SIZE = 256;
    /// Bytes of the name of a function.
    static constexpr unsigned long FUNC_NAME_SIZE = 128;
    /// Bytes of the name of a component.
    static constexpr unsigned long COMP_NAME_SIZE = 64;
    /// Bytes of the identifier of a Message.
    static constexpr unsigned long MAXIMUM_MESSAGE_ID_NAME_SIZE = 64;
    /// Bytes of the name of a locale.
    static constexpr unsigned long LOCALE_NAME_SIZE = 64;
    /// Bytes of the name of a code page.
    static constexpr unsigned long CODEPAGE_NAME_SIZE = 64;
    /// Bytes that a DataBuffer and a UTF8Iterator hold without the heap, terminator not counted.
    static constexpr unsigned long DATABUFFER_BUFFER_SIZE = 4096;
    /// Bytes of an argument of a Message.
    static constexpr unsigned long MAXIMUM_MESSAGE_ARGUMENT_SIZE = 1024;
    /// Bytes of the name of an XML element.
    static constexpr unsigned long MAXIMUM_XML_ELEMENT_NAME_SIZE = 128;
    /// Digits of a number.
    static constexpr unsigned long MAXIMUM_DIGIT_NUMERIC_STRING_SIZE = 20;
    /// Files that are kept when files are rotated.
    static constexpr unsigned long MAXIMUM_NUMBER_FILES_ROTATION = 10;
    /// Entries of an array of arguments of a Message, to begin with.
    static constexpr unsigned long INITIAL_MESSAGE_ARGUMENT_ARRAY_SIZE = 6;
    /// @}

    /// @name Code-page names and single characters as strings
    /// @{

    /// The code page UTF-8.
    static constexpr const char* CONSTANT_STRING_UTF_8 = "UTF-8";
    /// An opening angle bracket.
    static constexpr const char* CONSTANT_STRING_OPEN_ANGLE = "<";
    /// A closing angle bracket.
    static constexpr const char* CONSTANT_STRING_CLOSE_ANGLE = ">";
    /// An ampersand.
    static constexpr const char* CONSTANT_STRING_AMPERSAND = "&";
    /// A single quote.
    static constexpr const char* CONSTANT_STRING_SINGLE_QUOTE = "'";
    /// A double quote.
    static constexpr const char* CONSTANT_STRING_DOUBLE_QUOTE = "\"";
    /// A blank.
    static constexpr const char* CONSTANT_STRING_SPACE = " ";
    /// An equals sign.
    static constexpr const char* CONSTANT_STRING_EQUAL = "=";
    /// A backslash.
    static constexpr const char* CONSTANT_STRING_BACKSLASH = "\\";
    /// @}

    /// @name Pieces of XML text
    /// @{

    /// Opens a start tag.
    static constexpr const char* XML_OPEN_START_ELEMENT_TAG = "<";
    /// Opens an end tag.
    static constexpr const char* XML_OPEN_END_ELEMENT_TAG = "</";
    /// Opens a processing instruction.
    static constexpr const char* XML_OPEN_PI_TAG = "<?";
    /// Closes a tag.
    static constexpr const char* XML_CLOSE_TAG = ">";
    /// Closes a processing instruction.
    static constexpr const char* XML_CLOSE_PI_TAG = "?>";
    /// An opening angle bracket in text.
    static constexpr const char* XML_ESCAPED_OPEN_ANGLE = "&lt;";
    /// A closing angle bracket in text.
    static constexpr const char* XML_ESCAPED_CLOSE_ANGLE = "&gt;";
    /// An ampersand in text.
    static constexpr const char* XML_ESCAPED_AMPERSAND = "&amp;";
    /// A double quote in text.
    static constexpr const char* XML_ESCAPED_DOUBLE_QUOTE = "&quot;";
    /// A single quote in text.
    static constexpr const char* XML_ESCAPED_SINGLE_QUOTE = "&apos;";
    /// A backslash in text.
    static constexpr const char* XML_ESCAPED_BACKSLASH = "&#x5C;";
    /// Opens a section of character data.
    static constexpr const char* XML_CDATA_START = "<![CDATA[";
    /// Closes a section of character data.
    static constexpr const char* XML_CDATA_END = "]]>";
    /// @}

    /// @name Keys of document descriptions
    /// @{

    /// The constructor of a document.
    static constexpr const char* DOCUMENT_CONSTRUCTOR_NAME = "ctor.name";
    /// The configuration of that constructor.
    static constexpr const char* DOCUMENT_CONSTRUCTOR_CONFIG = "ctor.config";
    /// The data that it gets.
    static constexpr const char* DOCUMENT_CONSTRUCTOR_DATA = "ctor.doc.data";
    /// @}
};

}  // namespace nx::oss
