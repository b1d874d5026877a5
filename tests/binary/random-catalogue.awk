# awk -v seed=N -f random-catalogue.awk: a schema with message classes of random fields, from none to as many as a class
# can have, in a system of today and in one of the old way, and for each class C a class CHolder that nests it in every way.
function number(below) { return int(rand() * below) }

function message(name, id, fields,    i, type) {
  printf "    <message name=\"%s\" id=\"%d\">\n", name, id
  for (i = 0; i < fields; i++) {
    type = types[number(count)]
    printf "      <field name=\"f%d\" %s/>\n", i, type
  }
  print "    </message>"
}

function holder(of, id, home,    class) {
  class = "class=\"" home "_" of "\""
  printf "    <message name=\"%sHolder\" id=\"%d\">\n", of, id
  printf "      <field name=\"list\" type=\"list\" of=\"object\" %s/>\n", class
  printf "      <field name=\"numbered\" type=\"map\" key=\"longlong\" of=\"object\" %s/>\n", class
  printf "      <field name=\"named\" type=\"map\" key=\"string\" of=\"object\" %s/>\n", class
  printf "      <field name=\"one\" type=\"object\" %s/>\n", class
  print "    </message>"
}

BEGIN {
  srand(seed)
  count = split("int uint long ulong longlong bool double float time32 time64 bstring string", scalars, " ")
  for (i = 0; i < count; i++) types[i] = "type=\"" scalars[i + 1] "\""
  lists = split("int uint longlong string bstring bool float double", elements, " ")
  for (i = 1; i <= lists; i++) types[count++] = "type=\"list\" of=\"" elements[i] "\""
  types[count++] = "type=\"map\" key=\"string\" of=\"longlong\""

  print "<catalogue>"
  split("Random RandomOld", names, " ")
  split("70 50", indices, " ")
  for (s = 1; s <= 2; s++) {
    printf "  <system name=\"%s\" index=\"%d\">\n", names[s], indices[s]
    widths = split("0 1 23 24 25 26", width, " ")
    for (i = 0; i < 6; i++) width[++widths] = 27 + number(100 * 3 ^ i / 3)
    width[++widths] = 8000  # of up to four slots each
    for (i = 1; i <= widths; i++) {
      message("C" i, 2 * i, width[i])
      holder("C" i, 2 * i + 1, names[s])
    }
    print "  </system>"
  }
  print "</catalogue>"
}
