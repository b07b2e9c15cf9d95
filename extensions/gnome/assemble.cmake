# Puts one build of the extension together in OUT: the shared logic as one corvanebar.js (an ES
# module for BUILD=esm, a legacy module otherwise), the build's entry point and metadata, the
# stylesheet and the compiled settings schema.
# cmake -DBUILD=legacy|esm -DSOURCE=<extensions/gnome> -DOUT=<dir> -DSHARED="a.js;b.js"
#       -DCOMPILE_SCHEMAS=<glib-compile-schemas> -P assemble.cmake

file(MAKE_DIRECTORY ${OUT}/schemas)
set(text "// Assembled from extensions/gnome/common at build time; edit those files.\n")
foreach(part IN LISTS SHARED)
  file(READ ${SOURCE}/${part} content)
  string(APPEND text "\n// --- ${part}\n${content}")
endforeach()
if(BUILD STREQUAL "esm")
  string(APPEND text "\nexport {createCorvaneBar};\n")
endif()
file(WRITE ${OUT}/corvanebar.js.new "${text}")
file(COPY_FILE ${OUT}/corvanebar.js.new ${OUT}/corvanebar.js ONLY_IF_DIFFERENT)
file(REMOVE ${OUT}/corvanebar.js.new)

foreach(file ${BUILD}/extension.js ${BUILD}/metadata.json stylesheet.css)
  get_filename_component(name ${file} NAME)
  file(COPY_FILE ${SOURCE}/${file} ${OUT}/${name} ONLY_IF_DIFFERENT)
endforeach()
set(schema org.gnome.shell.extensions.corvanebar.gschema.xml)
file(COPY_FILE ${SOURCE}/schemas/${schema} ${OUT}/schemas/${schema} ONLY_IF_DIFFERENT)
execute_process(COMMAND ${COMPILE_SCHEMAS} --strict ${OUT}/schemas RESULT_VARIABLE failed)
if(failed)
  message(FATAL_ERROR "glib-compile-schemas failed on ${OUT}/schemas")
endif()
