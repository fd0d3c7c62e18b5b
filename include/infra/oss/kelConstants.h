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
    // Sizes. Bytes for buffers and names, digits for numbers, entries for arrays.

    static constexpr unsigned long MAXIMUM_PATH_BLOCK_SIZE = 128;
    static constexpr unsigned long FILE_NAME_SIZE = 256;
    static constexpr unsigned long PATH_SIZE = 256;
    static constexpr unsigned long FUNC_NAME_SIZE = 128;
    static constexpr unsigned long COMP_NAME_SIZE = 64;
    static constexpr unsigned long MAXIMUM_MESSAGE_ID_NAME_SIZE = 64;
    static constexpr unsigned long LOCALE_NAME_SIZE = 64;
    static constexpr unsigned long CODEPAGE_NAME_SIZE = 64;
    static constexpr unsigned long DATABUFFER_BUFFER_SIZE = 4096;
    static constexpr unsigned long MAXIMUM_MESSAGE_ARGUMENT_SIZE = 1024;
    static constexpr unsigned long MAXIMUM_XML_ELEMENT_NAME_SIZE = 128;
    static constexpr unsigned long MAXIMUM_DIGIT_NUMERIC_STRING_SIZE = 20;
    static constexpr unsigned long MAXIMUM_NUMBER_FILES_ROTATION = 10;
    static constexpr unsigned long INITIAL_MESSAGE_ARGUMENT_ARRAY_SIZE = 6;

    // Code-page names and single characters as strings.

    static constexpr const char* CONSTANT_STRING_UTF_8 = "UTF-8";
    static constexpr const char* CONSTANT_STRING_OPEN_ANGLE = "<";
    static constexpr const char* CONSTANT_STRING_CLOSE_ANGLE = ">";
    static constexpr const char* CONSTANT_STRING_AMPERSAND = "&";
    static constexpr const char* CONSTANT_STRING_SINGLE_QUOTE = "'";
    static constexpr const char* CONSTANT_STRING_DOUBLE_QUOTE = "\"";
    static constexpr const char* CONSTANT_STRING_SPACE = " ";
    static constexpr const char* CONSTANT_STRING_EQUAL = "=";
    static constexpr const char* CONSTANT_STRING_BACKSLASH = "\\";

    // Pieces of XML text.

    static constexpr const char* XML_OPEN_START_ELEMENT_TAG = "<";
    static constexpr const char* XML_OPEN_END_ELEMENT_TAG = "</";
    static constexpr const char* XML_OPEN_PI_TAG = "<?";
    static constexpr const char* XML_CLOSE_TAG = ">";
    static constexpr const char* XML_CLOSE_PI_TAG = "?>";
    static constexpr const char* XML_ESCAPED_OPEN_ANGLE = "&lt;";
    static constexpr const char* XML_ESCAPED_CLOSE_ANGLE = "&gt;";
    static constexpr const char* XML_ESCAPED_AMPERSAND = "&amp;";
    static constexpr const char* XML_ESCAPED_DOUBLE_QUOTE = "&quot;";
    static constexpr const char* XML_ESCAPED_SINGLE_QUOTE = "&apos;";
    static constexpr const char* XML_ESCAPED_BACKSLASH = "&#x5C;";
    static constexpr const char* XML_CDATA_START = "<![CDATA[";
    static constexpr const char* XML_CDATA_END = "]]>";

    // Keys of document descriptions.

    static constexpr const char* DOCUMENT_CONSTRUCTOR_NAME = "ctor.name";
    static constexpr const char* DOCUMENT_CONSTRUCTOR_CONFIG = "ctor.config";
    static constexpr const char* DOCUMENT_CONSTRUCTOR_DATA = "ctor.doc.data";
};

}  // namespace nx::oss
