# cmake -DFILE=in -DHEADER=out -DNAME=symbol -P embed.cmake: a text as a constant of C++.
file(READ ${FILE} text)
file(WRITE ${HEADER} "// Made of ${FILE}.\n#pragma once\n\ninline constexpr char ${NAME}[] = R\"file(${text})file\";\n")
