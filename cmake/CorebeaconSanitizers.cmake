# COREBEACON_SANITIZE instruments everything that is built, tests included: a race or an overrun
# between library and caller is seen only when both sides are watched.
if(COREBEACON_SANITIZE)
  add_compile_options(-fsanitize=${COREBEACON_SANITIZE} -fno-sanitize-recover=all
                      -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${COREBEACON_SANITIZE})
endif()
