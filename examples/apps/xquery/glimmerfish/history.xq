xquery version "3.1";

(: Visited pages by host, and what was downloaded. :)
import module namespace ev = "urn:examples:evidence" at "../common/evidence.xq";

declare variable $evidence as document-node() := /;
declare variable $browser as xs:string external;

<results kind="history" source="{ $browser }">{
  let $visits := ev:records($evidence, "history", "visit")
  for $page in ev:records($evidence, "history", "page")
  group by $host := (ev:field($page, "host"), "(local)")[1]
  order by count($page) descending, $host
  return
    <host name="{ $host }">{
      for $one in $page
      let $times := $visits[field[@name = "page_id"]/@ref = $one/@id] ! ev:field(., "time")
      order by ev:field($one, "last_visit") descending
      return
        <page visits="{ count($times) }">{
          ev:attribute("id", $one/@id),
          ev:attribute("first", min($times)),
          ev:attribute("last", ev:field($one, "last_visit")),
          ev:origin($one),
          ev:element("address", ev:field($one, "address")),
          ev:element("title", ev:field($one, "title"))
        }</page>
    }</host>,
  for $download in ev:records($evidence, "history", "download")
  order by ev:field($download, "started")
  return
    <download time="{ ev:field($download, 'started') }">{
      ev:origin($download),
      ev:element("file", ev:field($download, "file_name")),
      ev:element("from", ev:field($download, "referrer"))
    }</download>
}</results>
