# awk -v seed=N -f random-tables.awk: a schema with everything that the tables hold, at random: fields of all types with
# references, defaults, marks, annotations, texts, former names and places of their own, enumerations, gaps between classes,
# XPaths.
function number(below) { return int(rand() * below) }
function one(of) { return number(of) == 0 }

function annotations(    i, text) {
  for (i = 1; i <= kinds; i++) {
    if (one(9)) text = text "<annotation name=\"" kind[i] "\" " member[kind[i]] "/>"
  }
  return text
}

function doc() { return one(4) ? " doc=\"What it is for: &quot;" number(1000) "&quot; &amp; \xC3\xA9\"" : "" }
function formerly(name) { return one(5) ? " formerly=\"old" name "\"" : "" }

function field(name,    which, type, text) {
  which = number(count)
  type = types[which]
  text = "      <field name=\"" name "\" " type
  if (type ~ /enum/) text = text " class=\"" home "_E" number(enums) "\""
  else if (type ~ /object/) text = text " class=\"" home "_C" number(id) "\""
  if (type ~ /key="object"/) text = text " keyClass=\"" home "_C" number(id) "\""
  if (type in defaults && one(2)) text = text " default=\"" defaults[type] "\""
  if (type == "type=\"pstring\"") text = text " password=\"BASE64\""
  if (type ~ /^type="(int|longlong|time32)"$/ && one(4)) text = text (one(2) ? " date=\"DATE_TIME\"" : " timeOfDay=\"true\"")
  if (type ~ /^type="(string|int|double)"$/ && one(4)) text = text " cdata=\"true\""
  if (one(6)) text = text " xpath=\"true\""
  if (one(12)) text = text " hidden=\"true\""
  else if (type !~ /none|utf16/) text = text formerly(name)
  if (type ~ /^type="(int|string)"$/) paths[pathCount++] = "message=\"C" id "\" path=\"@" name "\""
  print text doc() ">" annotations() "</field>"
}

# Only classes before it, and so never one that builds itself without end.
function message(fields,    i) {
  printf "    <message name=\"C%d\" id=\"%d\"%s%s%s>\n", id, 3 * id + 1, formerly("C" id), doc(), gap()
  for (i = 0; i < fields; i++) {
    field("f" i)
  }
  print "    </message>"
  id++
}

function gap() {
  place += one(15) ? 3 : 1
  return " index=\"" place "\""
}

function enumeration(    i) {
  printf "    <enum name=\"E%d\" id=\"%d\"%s%s%s>\n", enums, 3 * enums + 2, formerly("E" enums), doc(), gap()
  for (i = 0; i < 1 + number(9); i++) {
    printf "      <enumerator name=\"V%d\" value=\"%d\"%s%s>%s</enumerator>\n", i, number(5000000000) - 1000000000, \
      formerly("V" i), doc(), annotations()
  }
  print "    </enum>"
  enums++
}

BEGIN {
  srand(seed)
  count = split("int uint long ulong longlong ulonglong bool double float time32 time64 string wstring bstring pstring enum object none utf16", scalars, " ")
  for (i = 0; i < count; i++) types[i] = "type=\"" scalars[i + 1] "\""
  lists = split("int uint long ulong longlong ulonglong string wstring bstring bool float double enum object", elements, " ")
  for (i = 1; i <= lists; i++) types[count++] = "type=\"list\" of=\"" elements[i] "\""
  maps = split("longlong-longlong longlong-string longlong-object string-longlong string-string string-object object-object", map, " ")
  for (i = 1; i <= maps; i++) {
    split(map[i], parts, "-")
    types[count++] = "type=\"map\" key=\"" parts[1] "\" of=\"" parts[2] "\""
  }
  defaulted = split("int=-5 uint=0x10 longlong=-9000000000 bool=true double=1.5e3 float=-0.25 string=a&amp;&quot;\\n? bstring=b", pairs, " ")
  for (i = 1; i <= defaulted; i++) {
    split(pairs[i], parts, "=")
    defaults["type=\"" parts[1] "\""] = parts[2]
  }
  kinds = split("CommandParam Text Suppress HideInReports SingleInstanced SearchCriteriaDef StoredProcedure", kind, " ")
  member["CommandParam"] = "useDefault=\"true\""
  member["Text"] = "text=\"Shown &lt;so&gt;\""
  member["SearchCriteriaDef"] = "from=\"1\" to=\"\""
  member["StoredProcedure"] = "called=\"p\""

  print "<catalogue>"
  split("Paths Eager", homes, " ")
  split("12 50", indices, " ")
  for (s = 1; s <= 2; s++) {
    home = homes[s]
    printf "  <system name=\"%s\" index=\"%d\"%s>\n", home, indices[s], doc()
    id = enums = pathCount = 0
    place = -1
    for (i = 0; i < 12; i++) enumeration()
    printf "    <message name=\"C0\" id=\"1\"%s/>\n", gap()
    id = 1
    for (i = 0; i < 60; i++) message(number(60))
    message(s == 1 ? 1500 : 30)
    for (i = 0; i < pathCount && s == 1; i++) {
      if (one(3)) printf "    <xpath id=\"%d\" %s/>\n", 7 * i, paths[i]
    }
    print "  </system>"
  }
  print "</catalogue>"
}
