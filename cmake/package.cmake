# What is installed, and the Debian packages made of it (scripts/package). Two components:
#   cli      the headless command and the parts of the bundle that it needs
#   desktop  the window, which depends on the other
set(QV_APP lib/quorvantel/Quorvantel.app)
set(QV_APP_RESOURCES ${QV_APP}/Contents/Resources)
set(QV_STAGED ${PROJECT_BINARY_DIR}/package)
set(QV_PACKAGING ${PROJECT_SOURCE_DIR}/packaging)
set(QV_PACKAGE_FILES)

# Makes file.gz of a file, the same bytes every time.
function(qv_gzip from to)
  add_custom_command(OUTPUT ${to} DEPENDS ${from} VERBATIM
    COMMAND sh -c "gzip -9nc \"$1\" >\"$2\"" sh ${from} ${to})
  set(QV_PACKAGE_FILES ${QV_PACKAGE_FILES} ${to} PARENT_SCOPE)
endfunction()

# A link made here and installed as it is. Its target counts from where it will stand.
function(qv_install_link target name folder component)
  file(MAKE_DIRECTORY ${QV_STAGED}/${folder})
  file(CREATE_LINK ${target} ${QV_STAGED}/${folder}/${name} SYMBOLIC)
  install(FILES ${QV_STAGED}/${folder}/${name} DESTINATION ${folder} COMPONENT ${component})
endfunction()

# The man page in one language; the folder is "." or the language's.
function(qv_install_man command folder component)
  set(page ${folder}/${command}.1)
  configure_file(${QV_PACKAGING}/man/${page} ${QV_STAGED}/${page} @ONLY)
  qv_gzip(${QV_STAGED}/${page} ${QV_STAGED}/${page}.gz)
  install(FILES ${QV_STAGED}/${page}.gz DESTINATION share/man/${folder}/man1
    COMPONENT ${component})
  set(QV_PACKAGE_FILES ${QV_PACKAGE_FILES} PARENT_SCOPE)
endfunction()

# The man page, the completions, and what every Debian package has.
function(qv_install_papers command component)
  qv_install_man(${command} . ${component})
  set(completions ${QV_PACKAGING}/completions)
  install(FILES ${completions}/${command}.bash RENAME ${command}
    DESTINATION share/bash-completion/completions COMPONENT ${component})
  install(FILES ${completions}/_${command}
    DESTINATION share/zsh/vendor-completions COMPONENT ${component})
  install(FILES ${completions}/${command}.fish
    DESTINATION share/fish/vendor_completions.d COMPONENT ${component})
  install(FILES ${QV_PACKAGING}/copyright ${QV_STAGED}/changelog.gz
      ${QV_STAGED}/changelog.Debian.gz
    DESTINATION share/doc/${command} COMPONENT ${component})
  set(QV_PACKAGE_FILES ${QV_PACKAGE_FILES} PARENT_SCOPE)
endfunction()

qv_gzip(${PROJECT_SOURCE_DIR}/CHANGELOG.md ${QV_STAGED}/changelog.gz)
qv_gzip(${QV_PACKAGING}/changelog ${QV_STAGED}/changelog.Debian.gz)

# ---- the headless command

install(TARGETS quorvantel-cli DESTINATION ${QV_APP}/Contents/MacOS COMPONENT cli)
set(tools gettimestamps quickThumbs quickThumbsFilters)
if(QV_MOVIES)
  list(APPEND tools qtThumbs)
endif()
install(TARGETS ${tools}
  RUNTIME DESTINATION ${QV_APP_RESOURCES}/tools COMPONENT cli
  LIBRARY DESTINATION ${QV_APP_RESOURCES}/tools COMPONENT cli)
install(FILES ${QV_CONTENTS}/Info.plist DESTINATION ${QV_APP}/Contents COMPONENT cli)
install(DIRECTORY ${QV_RESOURCES}/en.lproj ${QV_RESOURCES}/fr.lproj
  DESTINATION ${QV_APP_RESOURCES} COMPONENT cli FILES_MATCHING PATTERN "*.strings")
# The package's links lead to where Debian has these, wherever the build found them.
set(QV_TO_USR ../../../../../..)
qv_install_link(${QV_TO_USR}/bin/ffmpeg ffmpeg ${QV_APP_RESOURCES}/tools cli)
foreach(font ${QV_FONTS})
  string(REGEX REPLACE ".*\\." "" type ${font})
  set(kind truetype)
  if(type STREQUAL ttc)
    set(kind opentype)
  endif()
  qv_install_link(${QV_TO_USR}/share/fonts/${kind}/noto/${font} ${font}
    ${QV_APP_RESOURCES}/fonts cli)
endforeach()
qv_install_link(../${QV_APP}/Contents/MacOS/quorvantel-cli quorvantel-cli bin cli)
qv_install_papers(quorvantel-cli cli)

# ---- the window

if(QV_SHELL)
  find_program(QV_RSVG rsvg-convert REQUIRED)
  set(QV_ID org.quorvantel.Quorvantel)
  install(TARGETS Quorvantel DESTINATION ${QV_APP}/Contents/MacOS COMPONENT desktop)
  install(DIRECTORY ${QV_RESOURCES}/en.lproj ${QV_RESOURCES}/fr.lproj
    DESTINATION ${QV_APP_RESOURCES} COMPONENT desktop
    FILES_MATCHING PATTERN "*.html" PATTERN "*.png")
  install(FILES ${QV_PICTURES} DESTINATION ${QV_APP_RESOURCES} COMPONENT desktop)
  qv_install_link(../${QV_APP}/Contents/MacOS/Quorvantel quorvantel bin desktop)
  qv_install_papers(quorvantel desktop)
  qv_install_man(quorvantel fr desktop)
  install(FILES ${QV_PACKAGING}/${QV_ID}.desktop DESTINATION share/applications
    COMPONENT desktop)
  install(FILES ${QV_PACKAGING}/${QV_ID}.metainfo.xml DESTINATION share/metainfo
    COMPONENT desktop)
  install(FILES ${QV_PACKAGING}/${QV_ID}.mime.xml RENAME ${QV_ID}.xml
    DESTINATION share/mime/packages COMPONENT desktop)

  set(drawing ${PROJECT_SOURCE_DIR}/resources/pictures/quorvantel.svg)
  install(FILES ${drawing} RENAME ${QV_ID}.svg
    DESTINATION share/icons/hicolor/scalable/apps COMPONENT desktop)
  foreach(size 16 22 24 32 48 64 128 256 512)
    set(icon ${QV_STAGED}/icon-${size}.png)
    add_custom_command(OUTPUT ${icon} DEPENDS ${drawing} VERBATIM
      COMMAND ${QV_RSVG} -w ${size} -h ${size} -o ${icon} ${drawing})
    list(APPEND QV_PACKAGE_FILES ${icon})
    install(FILES ${icon} RENAME ${QV_ID}.png
      DESTINATION share/icons/hicolor/${size}x${size}/apps COMPONENT desktop)
  endforeach()
endif()

add_custom_target(package_files ALL DEPENDS ${QV_PACKAGE_FILES})

# ---- the packages

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_SOURCE_DIR}/build/packages)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/package_times.cmake)
set(CPACK_COMPONENTS_ALL cli)
if(QV_SHELL)
  list(APPEND CPACK_COMPONENTS_ALL desktop)
endif()
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING IGNORE)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_SOURCE quorvantel)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER
  "The Quorvantel developers <quorvantel@quorvantel.example>")
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE https://quorvantel.example/)
set(CPACK_DEBIAN_PACKAGE_SECTION video)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)

# Programs and plug-ins are not seen by dpkg-shlibdeps. The movie framework's plug-ins serve some
# sources that ffmpeg can't read; without them ffmpeg does all.
set(CPACK_DEBIAN_CLI_PACKAGE_NAME quorvantel-cli)
set(CPACK_DEBIAN_CLI_PACKAGE_DEPENDS "ffmpeg, fonts-noto-core")
string(JOIN ", " CPACK_DEBIAN_CLI_PACKAGE_RECOMMENDS
  fonts-noto-cjk fonts-noto-color-emoji gstreamer1.0-plugins-base gstreamer1.0-plugins-good
  gstreamer1.0-plugins-bad gstreamer1.0-plugins-ugly gstreamer1.0-libav)
set(CPACK_DEBIAN_CLI_DESCRIPTION
"turn video files into index sheets (command)
Quorvantel makes one picture of each video: a title, lines about the
source and a grid of stills with their time codes. Whoever keeps, edits
or looks for clips sees at a glance what is in them.
.
This package holds the headless command quorvantel-cli, for scripts,
servers and clusters. It works on many sources at a time, prints its
results as JSON when asked, and needs no display.")

set(CPACK_DEBIAN_DESKTOP_PACKAGE_NAME quorvantel)
set(CPACK_DEBIAN_DESKTOP_PACKAGE_DEPENDS
  "quorvantel-cli (= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE}), hicolor-icon-theme")
string(JOIN ", " CPACK_DEBIAN_DESKTOP_PACKAGE_RECOMMENDS
  qt6-image-formats-plugins qt6-translations-l10n shared-mime-info xdg-utils)
set(CPACK_DEBIAN_DESKTOP_PACKAGE_SUGGESTS qt6-wayland)
set(CPACK_DEBIAN_DESKTOP_DESCRIPTION
"turn videos into index sheets
Quorvantel makes one picture of each video: a title, lines about the
source and a grid of stills with their time codes. Whoever keeps, edits
or looks for clips sees at a glance what is in them.
.
This package holds the desktop application: drop videos or folders on
its window, choose the layout and the number of pictures, and make the
sheets. Colours, borders and captions are set with a live preview.")

include(CPack)
