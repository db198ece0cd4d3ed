xquery version "3.1";

(: Hidden media by vault: what the index names, whether or not the file is still there. :)
import module namespace ev = "urn:examples:evidence" at "../common/evidence.xq";

declare variable $evidence as document-node() := /;
declare variable $vault-database as xs:string external;

declare function local:medium($entry as element(record)) as element(medium) {
  let $files := $evidence//source[@analyzer = ("vault_files", "lite_files")]
  let $found := $files[@id = ev:field($entry, "hash")]
  let $picture := $found//record[@kind = ("picture", "clip")][1]
  return
    <medium present="{ exists($found) }">{
      ev:attribute("id", $entry/@id),
      ev:origin($entry),
      ev:element("name", ev:field($entry, "name")),
      ev:element("hidden", ev:field($entry, "hidden_at")),
      ev:element("removed", ev:field($entry, "deleted")),
      if (exists($picture)) then (
        ev:element("taken", ev:field($picture, "taken")),
        ev:element("camera", ev:field($picture, "camera"))
      ) else ()
    }</medium>
};

<results kind="medium">{
  for $entry in ev:records($evidence, $vault-database, "hidden")
  group by $vault := ev:field($entry, "vault")
  order by number($vault)
  return
    <vault number="{ $vault }" kind="{ ev:field($entry[1], 'vault_kind') }">{
      $entry ! local:medium(.)
    }</vault>
}</results>
