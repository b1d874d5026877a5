# awk -v systems=N -v classes=M -v fields=L -f large.awk: N systems of M messages of L fields, which refer across them.
BEGIN {
  print "<catalogue>"
  for (s = 1; s <= systems; ++s) {
    printf "<system name='S%d' index='%d'>\n", s, s
    for (c = 0; c < classes; ++c) {
      printf "<message name='C%d' id='%d'>", c, c + 1
      for (f = 0; f < fields; ++f)
        printf "<field name='f%d' type='list' of='object' class='S%d_C%d'/>", f, systems + 1 - s, (c + f) % classes
      print "</message>"
    }
    print "</system>"
  }
  print "</catalogue>"
}
