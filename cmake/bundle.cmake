# The application is one folder, made in the build folder and ready to run from there:
#   Quorvantel.app/Contents/{Info.plist, MacOS/, Resources/{tools,fonts,en.lproj,fr.lproj}}
set(QV_BUNDLE ${PROJECT_BINARY_DIR}/Quorvantel.app)
set(QV_CONTENTS ${QV_BUNDLE}/Contents)
set(QV_RESOURCES ${QV_CONTENTS}/Resources)
file(MAKE_DIRECTORY ${QV_CONTENTS}/MacOS ${QV_RESOURCES}/tools ${QV_RESOURCES}/fonts)

# Where newer versions are looked for, and the Ed25519 key that their archives must be signed with
# (base64, made by scripts/sign-update). Without a key only what comes over https from that address
# is installed.
set(QV_UPDATE_ADDRESS "https://updates.quorvantel.example/" CACHE STRING
  "Address of the update service, ending in /")
set(QV_UPDATE_PUBLIC_KEY "" CACHE STRING "Public key of update archives (base64)")

configure_file(resources/Info.plist.in ${QV_CONTENTS}/Info.plist @ONLY)
# String tables and the help page of each language.
foreach(language en fr)
  file(GLOB texts CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/resources/${language}.lproj/*)
  foreach(text ${texts})
    get_filename_component(name ${text} NAME)
    configure_file(${text} ${QV_RESOURCES}/${language}.lproj/${name} COPYONLY)
  endforeach()
endforeach()

# The help shows the pictures of the documents, in their large version.
foreach(language en fr)
  set(number 0)
  foreach(state start list making done preferences)
    math(EXPR number "${number} + 1")
    set(picture ${PROJECT_SOURCE_DIR}/docs/pictures/${state}-${language}-light@2x.png)
    if(EXISTS ${picture})
      configure_file(${picture} ${QV_RESOURCES}/${language}.lproj/help-${number}-${state}.png
        COPYONLY)
    endif()
  endforeach()
endforeach()

# The installed ffmpeg serves unless a packager puts one into the tools folder.
find_program(QV_FFMPEG ffmpeg REQUIRED)
if(NOT EXISTS ${QV_RESOURCES}/tools/ffmpeg)
  file(CREATE_LINK ${QV_FFMPEG} ${QV_RESOURCES}/tools/ffmpeg SYMBOLIC)
endif()

# Fonts that the sheets can count on: Latin, Greek, Cyrillic first, then other scripts and emoji.
set(QV_FONT_FOLDERS /usr/share/fonts/truetype/noto /usr/share/fonts/opentype/noto)
set(QV_FONTS NotoSans-Regular.ttf NotoSansArabic-Regular.ttf NotoSansHebrew-Regular.ttf
             NotoSansDevanagari-Regular.ttf NotoSansBengali-Regular.ttf NotoSansTamil-Regular.ttf
             NotoSansThai-Regular.ttf NotoSansGeorgian-Regular.ttf NotoSansArmenian-Regular.ttf
             NotoSansSymbols-Regular.ttf NotoSansSymbols2-Regular.ttf NotoSansCJK-Regular.ttc
             NotoColorEmoji.ttf)
foreach(font ${QV_FONTS})
  find_file(QV_FONT_${font} ${font} PATHS ${QV_FONT_FOLDERS} NO_DEFAULT_PATH)
  if(QV_FONT_${font})
    file(CREATE_LINK ${QV_FONT_${font}} ${QV_RESOURCES}/fonts/${font} SYMBOLIC)
  else()
    message(WARNING "The font ${font} is not installed; sheets fall back to the system's fonts.")
  endif()
endforeach()

# The interface's own pictures.
file(GLOB QV_PICTURES CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/resources/pictures/*.svg)
foreach(picture ${QV_PICTURES})
  get_filename_component(name ${picture} NAME)
  configure_file(${picture} ${QV_RESOURCES}/${name} COPYONLY)
endforeach()
