xquery version "3.1";

(: Tabs that were open, with the icon of their host where the browser kept one. :)
import module namespace ev = "urn:examples:evidence" at "../common/evidence.xq";

declare variable $evidence as document-node() := /;
declare variable $browser as xs:string external;

<results kind="tab" source="{ $browser }">{
  let $cached := ev:records($evidence, "cached", "entry")
  for $tab at $place in ev:records($evidence, "tabs", "tab")
  let $host := ev:field($tab, "host")
  let $icon := $cached[ev:field(., "host") = $host]//record[@kind = "icon"]
  return
    <tab place="{ $place }" host="{ $host }">{
      ev:origin($tab),
      ev:element("opened", ev:field($tab, "opened")),
      ev:element("address", ev:field($tab, "address")),
      ev:element("title", ev:field($tab, "title")),
      if (exists($icon)) then <icon path="{ ev:field($icon[1], 'path') }"/> else ()
    }</tab>
}</results>
