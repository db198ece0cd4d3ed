xquery version "3.1";

(: Notes, each once: a note that also stands in backups lists their states as versions. :)
import module namespace ev = "urn:examples:evidence" at "../common/evidence.xq";

declare variable $evidence as document-node() := /;
declare variable $note-analyzer as xs:string external;

declare function local:body($note as element(record)) as element(body)? {
  let $opened := ev:field($note, "opened_body")
  let $text := ($opened, ev:field($note, "body"))[1]
  return
    if (exists($text)) then
      <body locked="{ exists($opened) }">{ $text }</body>
    else ()
};

declare function local:version($note as element(record)) as element(version) {
  <version>{
    ev:origin($note),
    ev:attribute("changed", ev:field($note, "changed")),
    ev:element("title", ev:field($note, "title")),
    local:body($note)
  }</version>
};

<results kind="note">{
  let $folders := ev:records($evidence, $note-analyzer, "folder")
  for $note in ev:records($evidence, $note-analyzer, "note")
  group by $id := string($note/@id)
  let $newest := ev:sorted($note, "changed")[last()]
  order by ev:field($newest, "created")
  return
    <note id="{ $id }" created="{ ev:field($newest, 'created') }">{
      ev:attribute("folder",
        ev:field($folders[@id = $newest/field[@name = "folder_id"]/@ref][1], "title")),
      local:version($newest),
      ($note except $newest) ! local:version(.)
    }</note>
}</results>
