xquery version "3.1";

(: Die Einträge: diary entries by year, and those of which only the index still knows. :)
import module namespace ev = "urn:examples:evidence" at "../common/evidence.xq";

declare variable $evidence as document-node() := /;
declare variable $app-title as xs:string external;
declare variable $locked-title as xs:string external;

declare function local:entry($index as element(record), $file as element(source)?)
    as element(entry) {
  <entry kept="{ exists($file) }">{
    ev:attribute("id", $index/@id),
    ev:origin($index),
    ev:attribute("mood", ev:node($file, "mood")),
    ev:element("title", (ev:field($index, "ZTITEL"), $locked-title)[1]),
    ev:element("written", (ev:node($file, "written"), ev:field($index, "ZDATUM"))[1]),
    ev:element("text", (ev:node($file, "text"), ev:field($index, "ZANFANG"))[1]),
    for $photo in ev:nodes($file, "photos/*")
    return ev:element("photo", ev:node($photo, "name"))
  }</entry>
};

<results kind="entry" source="{ $app-title }">{
  let $files := ev:trees($evidence, "entries")
  for $index in ev:records($evidence, "diary_index", "ZEINTRAG")
  group by $year := substring(ev:field($index, "ZDATUM"), 1, 4)
  order by $year
  return
    <year number="{ $year }">{
      for $one in $index
      order by ev:field($one, "ZDATUM")
      return local:entry($one, $files[@id = ev:field($one, "ZDATEI")][1])
    }</year>
}</results>
