# Joins the parts of the timeline's page and writes them as C++: cmake -DFOLDER=... -DOUT=... -P
# embed.cmake. The page names the digests of its own script and style, and allows no others.

function(digest result text)
  string(SHA256 hex "${text}")
  string(APPEND hex "00")  # 32 bytes and one, so that three always make four letters
  set(letters ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/)
  set(base64 "")
  foreach(at RANGE 0 60 6)
    string(SUBSTRING "${hex}" ${at} 6 three)
    foreach(shift 18 12 6 0)
      math(EXPR index "(0x${three} >> ${shift}) & 63")
      string(SUBSTRING ${letters} ${index} 1 letter)
      string(APPEND base64 ${letter})
    endforeach()
  endforeach()
  string(SUBSTRING ${base64} 0 43 base64)
  set(${result} "'sha256-${base64}='" PARENT_SCOPE)
endfunction()

file(READ ${FOLDER}/page.html page)
file(READ ${FOLDER}/page.css css)
set(js "'use strict';\n")
foreach(part values model draw chart page)
  file(READ ${FOLDER}/${part}.js text)
  string(APPEND js "${text}")
endforeach()
digest(js_digest "${js}")
digest(css_digest "${css}")
string(REPLACE "@CSP@" "default-src 'none'; script-src ${js_digest}; style-src ${css_digest}; \
img-src data:; base-uri 'none'; form-action 'none'" page "${page}")
string(REPLACE "@CSS@" "${css}" page "${page}")
string(REPLACE "@JS@" "${js}" page "${page}")

string(FIND "${page}" "@DATA@" at)
string(LENGTH "@DATA@" length)
math(EXPR after "${at} + ${length}")
string(SUBSTRING "${page}" 0 ${at} head)
string(SUBSTRING "${page}" ${after} -1 tail)
file(WRITE ${OUT} "#include \"timeline_assets.h\"

namespace corebeacon::tool {

const std::string_view kTimelinePageHead = R\"asset(${head})asset\";

const std::string_view kTimelinePageTail = R\"asset(${tail})asset\";

}  // namespace corebeacon::tool
")
