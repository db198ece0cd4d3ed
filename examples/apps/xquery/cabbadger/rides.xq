xquery version "3.1";

(: Rides from both stores: the database knows the end, the files know the way. :)
import module namespace ev = "urn:examples:evidence" at "../common/evidence.xq";

declare variable $evidence as document-node() := /;
declare variable $app-title as xs:string external;

declare function local:leg($leg as element(node)) as element(leg) {
  <leg>{
    ev:attribute("from", ev:node($leg, "from")),
    ev:attribute("to", ev:node($leg, "to")),
    ev:node($leg, "way")
  }</leg>
};

<results kind="ride" source="{ $app-title }">{
  let $files := ev:trees($evidence, "ride_files")
  for $ride in ev:records($evidence, "ride_db", "ride")
  let $file := $files[ev:node(., "id") = ev:field($ride, "_id")]
  order by ev:field($ride, "booked_at")
  return
    <ride>{
      ev:attribute("id", $ride/@id),
      ev:origin($ride),
      ev:element("booked", ev:field($ride, "booked_at")),
      ev:element("start", ev:field($ride, "start")),
      ev:element("start-zone", ev:node($file, "start/position")),
      ev:element("end", ev:field($ride, "end")),
      ev:element("driver", ev:node($file, "driver/name")),
      ev:nodes($file, "legs/*") ! local:leg(.)
    }</ride>
}</results>
