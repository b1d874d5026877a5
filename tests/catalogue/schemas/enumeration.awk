# awk -v n=N -f enumeration.awk: an enumeration of N enumerators.
BEGIN {
  print "<catalogue><system name='A' index='8'><enum name='E' id='1'>"
  for (i = 0; i < n; ++i)
    printf "<enumerator name='E%d' value='%d'/>\n", i, i
  print "</enum></system></catalogue>"
}
