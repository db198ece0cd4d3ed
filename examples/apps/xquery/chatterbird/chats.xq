xquery version "3.1";

(: Chats with their members, and when the owner last looked at them. :)
import module namespace ev = "urn:examples:evidence" at "../common/evidence.xq";

declare variable $evidence as document-node() := /;
declare variable $app-title as xs:string external;
declare variable $read-marks as xs:string external;

declare function local:last-seen($uid as xs:string?) as xs:string? {
  let $marks := ev:nodes(ev:trees($evidence, $read-marks), "chats/*")
  return ev:node($marks[ev:node(., "uid") = $uid], "seen")
};

<results kind="chat" source="{ $app-title }">{
  let $members := ev:records($evidence, "chat_db", "member")
  for $chat in ev:records($evidence, "chat_db", "conversation")
  let $own := $members[field[@name = "chat_uid"]/@ref = $chat/@id]
  order by ev:field($chat, "created_at")
  return
    <chat type="{ if (count($own) > 2) then 'group' else 'private' }">{
      ev:attribute("id", $chat/@id),
      ev:origin($chat),
      ev:element("title", ev:field($chat, "title")),
      ev:element("created", ev:field($chat, "created_at")),
      ev:element("last-seen", local:last-seen(ev:field($chat, "uid"))),
      for $member in $own
      return <member ref="{ $member/field[@name = "address"]/@ref }"/>
    }</chat>
}</results>
