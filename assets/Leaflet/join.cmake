# cmake -DOUT=file -DIN=first|second|... -P join.cmake: concatenates the files.
string(REPLACE "|" ";" files "${IN}")
file(WRITE ${OUT}.part "")
foreach(name IN LISTS files)
    file(READ ${name} text)
    file(APPEND ${OUT}.part "${text}")
endforeach()
file(RENAME ${OUT}.part ${OUT})
